"""The real movies of the end-to-end tests: which encoder writes them, and what is done afterwards.

A recipe is plain data, so that its text alone tells whether the movies made earlier are still good.
Encoders write into a scratch folder; `movies` names each file that is kept, and the edit of edits.py
(with its arguments, the first of them the scratch file) that it comes from.
"""

from dataclasses import dataclass

SOUND_RATE = 48000
SOUND_KINDS = ["u8", "s8", "s16be", "s16le", "s24be", "s24le", "s32be", "s32le",
               "f32be", "f32le", "f64be", "f64le"]
# ffmpeg describes 5.1 with side channels by the tag of MPEG 5.1 A, and with back channels by a
# bitmap.
LAYOUTS = {"mono": (1, "mono"), "stereo": (2, "stereo"), "5.1": (6, "5.1(side)"),
           "5.1 back": (6, "5.1")}
PICTURES = {
    "v210": ["-c:v", "v210"],
    "2vuy": ["-c:v", "rawvideo", "-pix_fmt", "uyvy422"],
    "r210": ["-c:v", "r210"],
}
MPEG_5_1_TAGS = {"A": 0x00790006, "B": 0x007A0006, "C": 0x007B0006, "D": 0x007C0006}
NO_MOVIE = "Lorem ipsum dolor sit amet, consectetur adipiscing elit.\n"
UNFINISHED = "\0\0\0\x10mdatabcdefgh"  # as of a recording that was broken off
HOLE = 9 << 29  # 4.5 GiB: what lies beyond needs 64-bit offsets


@dataclass
class Recipe:
    name: str
    commands: list  # argument lists, run one after the other in the scratch folder
    movies: dict  # kept file -> (edit, scratch file, argument, ...)
    measured: bool = True  # ask ffprobe and ffmpeg what the movies hold


def picture(size="96x64", rate="25", seconds=0.16):
    return ["-f", "lavfi", "-i", f"testsrc2=size={size}:rate={rate}:duration={seconds}"]


def noise(layout, seconds=0.16, seed=1):
    """Full-scale noise, of its own in every channel, and the same on every run."""
    channels, name = LAYOUTS[layout]
    voices = "|".join(f"if(eq(n,0),st(0,{7919 * (seed + channel)}))*0+random(0)*2-1"
                      for channel in range(channels))
    return ["-f", "lavfi", "-i", f"aevalsrc='{voices}':c={name}:s={SOUND_RATE}:d={seconds}"]


def ffmpeg(*arguments):
    flat = [word for part in arguments for word in (part if isinstance(part, list) else [part])]
    return ["ffmpeg", "-v", "error", "-nostdin", "-y", *flat]


def matrix():
    """Every picture with every kind of sound, in every layout, with the movie atom at both ends."""
    for codec, options in PICTURES.items():
        for layout in ("mono", "stereo", "5.1"):
            outputs, movies = [], {}
            for kind in SOUND_KINDS:
                for place, flags in (("last", []), ("first", ["-movflags", "+faststart"])):
                    scratch = f"{kind}-{place}.mov"
                    outputs += ["-map", "0:v", "-map", "1:a", *options,
                                "-c:a", f"pcm_{kind}", *flags, scratch]
                    movies[f"matrix/{codec}-{kind}-{layout}-{place}.mov"] = ("retag", scratch)
            yield Recipe(f"matrix {codec} {layout}", [ffmpeg(picture(), noise(layout), outputs)],
                         movies)


def sizes_and_rates():
    """The sizes and rates that people work in."""
    exact = {"24000/1001": 24000, "30000/1001": 30000, "60000/1001": 60000}
    for name, codec, size, rate, seconds in [
        ("1080p23.98-r210", "r210", "1920x1080", "24000/1001", 3 * 1001 / 24000),
        ("1080p25-v210", "v210", "1920x1080", "25", 3 / 25),
        ("1080p50-2vuy", "2vuy", "1920x1080", "50", 3 / 50),
        ("720p59.94-v210", "v210", "1280x720", "60000/1001", 3 * 1001 / 60000),
        ("576p25-r210", "r210", "720x576", "25", 3 / 25),
        ("486p29.97-2vuy", "2vuy", "720x486", "30000/1001", 3 * 1001 / 30000),
        ("722-2vuy", "2vuy", "722x64", "24", 3 / 24),
    ]:
        # The edit list counts in the movie's time scale: with ffmpeg's own of 1000 the length of
        # three frames at 29.97 would be rounded.
        scale = ["-movie_timescale", str(exact[rate])] if rate in exact else []
        yield Recipe(name, [ffmpeg(picture(size, rate, seconds), noise("stereo"),
                                   PICTURES[codec], "-c:a", "pcm_s24le", scale, "raw.mov")],
                     {f"sizes/{name}.mov": ("retag", "raw.mov")})
    yield Recipe("rounded length",
                 [ffmpeg(picture(rate="30000/1001", seconds=0.166), noise("stereo", 0.1661), PICTURES["v210"],
                         "-c:a", "pcm_s16le", "raw.mov")],
                 {"sizes/rounded-length.mov": ("retag", "raw.mov")})
    for name, setting in (("upper", "tff"), ("lower", "bff")):
        yield Recipe(f"{name} field coded first",
                     [ffmpeg(picture("720x486", "30000/1001", 0.066),
                             "-vf", f"setfield={setting}", "-flags", "+ildct",
                             "-movie_timescale", "30000", PICTURES["v210"], "raw.mov")],
                     {f"sizes/{name}-coded-first.mov": ("retag", "raw.mov")})
    yield Recipe("wide pixels",
                 [ffmpeg(picture("720x576"), "-vf", "setsar=16/15", PICTURES["2vuy"],
                         "raw.mov")],
                 {"sizes/wide-pixels.mov": ("retag", "raw.mov")})


def tracks():
    """More, fewer and other tracks than one of each kind."""
    yield Recipe("no sound", [ffmpeg(picture(), PICTURES["v210"], "raw.mov")],
                 {"tracks/no-sound.mov": ("retag", "raw.mov")})
    yield Recipe("three sounds",
                 [ffmpeg(picture(), noise("stereo", seed=1), noise("stereo", seed=11),
                         noise("mono", seed=21), "-map", "0", "-map", "1", "-map", "2",
                         "-map", "3", PICTURES["v210"], "-c:a", "pcm_s24be", "raw.mov")],
                 {"tracks/three-sounds.mov": ("retag", "raw.mov")})
    yield Recipe("long sound",
                 [ffmpeg(picture(seconds=3.4), noise("mono", 3.4), PICTURES["2vuy"],
                         "-c:a", "pcm_s16le", "raw.mov")],
                 {"tracks/long-sound.mov": ("retag", "raw.mov")})
    yield Recipe("timecode",
                 [ffmpeg(picture(), noise("stereo"), PICTURES["v210"],
                         "-c:a", "pcm_s16le", "-timecode", "01:02:03:04", "raw.mov")],
                 {"tracks/timecode.mov": ("retag", "raw.mov")})
    yield Recipe("trimmed",
                 [ffmpeg(picture(seconds=0.4), noise("stereo", 0.4), PICTURES["v210"], "-c:a",
                         "pcm_s16le", "raw.mov")],
                 {"tracks/trimmed.mov": ("trim", "raw.mov", 120, 200)})


# Name: rate of the picture, start. ffmpeg writes the frame count of the rate, and the drop-frame flag
# for ";".
TIMECODES = {
    "23.976": ("24000/1001", "01:00:00:00"),
    "24": ("24", "10:11:12:13"),
    "25": ("25", "23:59:59:24"),
    "29.97-non-drop": ("30000/1001", "00:01:00:00"),
    "29.97-drop": ("30000/1001", "00:10:59;29"),
    "30": ("30", "01:02:03:29"),
    "50": ("50", "05:06:07:49"),
    "59.94-non-drop": ("60000/1001", "12:34:56:58"),
    "59.94-drop": ("60000/1001", "12:34:56;58"),
    "60": ("60", "00:00:00:59"),
}


def timecodes():
    """A start timecode at every rate that people count in."""
    for name, (rate, start) in TIMECODES.items():
        yield Recipe(f"timecode {name}",
                     [ffmpeg(picture("48x16", rate), PICTURES["v210"], "-timecode", start,
                             "raw.mov")],
                     {f"timecodes/{name}.mov": ("retag", "raw.mov")}, measured=False)


def layouts():
    """The four orders of 5.1, in a version 1 description; and without any layout."""
    command = [ffmpeg(picture(), noise("5.1"), PICTURES["v210"], "-c:a", "pcm_s24le",
                      "raw.mov")]
    yield Recipe("5.1 orders", command,
                 {f"layouts/{name}.mov": ("layout", "raw.mov", tag)
                  for name, tag in MPEG_5_1_TAGS.items()})
    yield Recipe("5.1 unnamed",
                 [ffmpeg(noise("5.1"), "-c:a", "pcm_s24le", "-f", "s24le", "sound.raw"),
                  ffmpeg(picture(), "-f", "s24le", "-ar", str(SOUND_RATE), "-ac", "6",
                         "-guess_layout_max", "0", "-i", "sound.raw", PICTURES["v210"],
                         "-c:a", "pcm_s24le", "raw.mov")],
                 {"layouts/unnamed.mov": ("retag", "raw.mov")})


def large():
    """More than 4 GiB, nearly all of it a hole."""
    command = [ffmpeg(picture(), noise("stereo"), PICTURES["v210"], "-c:a", "pcm_s24le",
                      "raw.mov")]
    yield Recipe("large", command,
                 {f"large/moov-{place}.mov": ("stretch", "raw.mov", HOLE, place == "first")
                  for place in ("first", "last")})


def gstreamer():
    """GStreamer's movies, as they come."""
    for codec, form in (("v210", "v210"), ("2vuy", "UYVY")):
        for kind in ("U8", "S8", "S16BE", "S16LE", "S24BE", "S24LE", "S32BE", "S32LE"):
            for channels, place in ((1, "first"), (2, "last"), (6, "last")):
                # qtmux takes six channels only without positions.
                mask = ",channel-mask=(bitmask)0" if channels == 6 else ""
                name = f"gstreamer/{codec}-{kind.lower()}-{channels}.mov"
                yield Recipe(name, [[
                    "gst-launch-1.0", "-q",
                    "videotestsrc", "num-buffers=4", "!",
                    f"video/x-raw,format={form},width=96,height=64,framerate=25/1", "!",
                    "queue", "!", "mux.",
                    "audiotestsrc", "wave=white-noise", "num-buffers=4", "samplesperbuffer=1920",
                    "!", f"audio/x-raw,format={kind},rate={SOUND_RATE},channels={channels}{mask}",
                    "!", "queue", "!", "mux.",
                    "qtmux", "name=mux", f"faststart={'true' if place == 'first' else 'false'}",
                    "!", "filesink", "location=raw.mov",
                ]], {name: ("keep", "raw.mov")})


def libquicktime():
    """libquicktime's movies, as they come."""
    for codec in ("v210", "2vuy"):
        for kind in ("rawaudio", "twos", "sowt", "in24", "in32", "fl32", "fl64"):
            name = f"libquicktime/{codec}-{kind}.mov"
            # Its "raw " has as many bits as the source, and beyond 8 nobody agrees on the sign.
            source = "pcm_u8" if kind == "rawaudio" else "pcm_s16le"
            yield Recipe(name, [
                ffmpeg(picture(), noise("stereo"), PICTURES["2vuy"], "-c:a", source, "source.mov"),
                ["lqt_transcode", "-vc", codec, "-ac", kind, "source.mov", "raw.mov"],
            ], {name: ("keep", "raw.mov")})


def aligned():
    """Frames of whole pages, on page boundaries: what is read into the host's own pixels."""
    for codec, form in (("v210", "v210"), ("2vuy", "UYVY")):
        encoders = {
            "ffmpeg": [ffmpeg(picture(), PICTURES[codec], "raw.mov")],
            "gstreamer": [["gst-launch-1.0", "-q", "videotestsrc", "num-buffers=4", "!",
                           f"video/x-raw,format={form},width=96,height=64,framerate=25/1", "!",
                           "qtmux", "!", "filesink", "location=raw.mov"]],
            "libquicktime": [ffmpeg(picture(), PICTURES["2vuy"], "source.mov"),
                             ["lqt_transcode", "-vc", codec, "source.mov", "raw.mov"]],
        }
        for encoder, commands in encoders.items():
            yield Recipe(f"aligned {encoder} {codec}", commands,
                         {f"aligned/{encoder}-{codec}.mov": ("align", "raw.mov")})


PATTERNS = {
    "testsrc2": "testsrc2=size={size}:rate=25:duration=0.04",
    "smptehdbars": "smptehdbars=size={size}:rate=25:duration=0.04",
    "gradients": "gradients=size={size}:rate=25:duration=0.04:nb_colors=4:seed=7"
                 ":c0=0x208040:c1=0xC0A030:c2=0x4060E0:c3=0xD04060",
}


def decoded(codec, size, source):
    """ffmpeg's own decode of the first picture, B, G, R and A of 8 bits each, from the top down.

    By width the importer takes the matrix of Rec. 601 or 709, and both pixels of a pair get the
    pair's own chroma. ffmpeg takes r210 for full range, while its levels run from 64 to 940.
    """
    if codec == "r210":
        level = "clip((val-64)*1023/876\\,0\\,1023)"
        steps = f"format=gbrp10,lutrgb=r={level}:g={level}:b={level},format=bgra"
    else:
        matrix = "bt601" if int(size.split("x")[0]) < 721 else "bt709"
        steps = (f"scale=in_color_matrix={matrix}:in_range=tv:out_range=pc"
                 ":flags=neighbor+accurate_rnd+full_chroma_int+full_chroma_inp,format=bgra")
    return ffmpeg("-i", source, "-vf", steps, "-frames:v", "1", "-f", "rawvideo", "raw.bgra")


def pictures():
    """Pictures to look at, and what ffmpeg sees in them."""
    def kept(name):
        return {f"pictures/{name}.mov": ("retag", "raw.mov"),
                f"pictures/{name}.mov.bgra": ("keep", "raw.bgra")}

    def pattern_of(name, size):
        return ["-f", "lavfi", "-i", PATTERNS[name].format(size=size), "-frames:v", "1"]

    for codec, options in PICTURES.items():
        sizes = [(pattern, size) for pattern in PATTERNS for size in ("720x486", "1920x1080")]
        for pattern, size in sizes + [("testsrc2", "1280x720"), ("testsrc2", "3840x2160")]:
            name = f"{codec}-{pattern}-{size}"
            yield Recipe(f"picture {name}",
                         [ffmpeg(pattern_of(pattern, size), options, "raw.mov"),
                          decoded(codec, size, "raw.mov")], kept(name), measured=False)
    for codec, form in (("v210", "v210"), ("2vuy", "UYVY")):
        encoders = {
            "gstreamer": ("1280x720", [["gst-launch-1.0", "-q", "videotestsrc", "num-buffers=1",
                                        "!", f"video/x-raw,format={form},width=1280,height=720,"
                                        "framerate=25/1", "!", "qtmux", "!", "filesink",
                                        "location=raw.mov"]]),
            "libquicktime": ("720x576", [ffmpeg(pattern_of("testsrc2", "720x576"),
                                                PICTURES["2vuy"], "source.mov"),
                                         ["lqt_transcode", "-vc", codec, "source.mov", "raw.mov"]]),
        }
        for encoder, (size, commands) in encoders.items():
            yield Recipe(f"picture {encoder} {codec}",
                         commands + [decoded(codec, size, "raw.mov")], kept(f"{encoder}-{codec}"),
                         measured=False)


# Name: codec, layout, kind of sound, end at which the movie atom lies, further options. Without a
# layout there is no sound.
UNMENDED = {
    "v210-u8-mono": ("v210", "mono", "u8", "last", []),
    "2vuy-s8-stereo-first": ("2vuy", "stereo", "s8", "first", []),
    "r210-s16be-5.1": ("r210", "5.1", "s16be", "last", []),
    "v210-s16le-mono-first": ("v210", "mono", "s16le", "first", []),
    "2vuy-s24be-stereo": ("2vuy", "stereo", "s24be", "last", []),
    "r210-s24le-5.1-first": ("r210", "5.1", "s24le", "first", []),
    "v210-s32be-mono": ("v210", "mono", "s32be", "last", []),
    "2vuy-s32le-stereo-first": ("2vuy", "stereo", "s32le", "first", []),
    "r210-f32be-5.1": ("r210", "5.1", "f32be", "last", []),
    "v210-f32le-mono-first": ("v210", "mono", "f32le", "first", []),
    "2vuy-f64be-stereo": ("2vuy", "stereo", "f64be", "last", []),
    "r210-f64le-5.1-first": ("r210", "5.1", "f64le", "first", []),
    "v210-s16le-bitmap": ("v210", "5.1 back", "s16le", "last", []),
    "2vuy-s24le-bitmap-first": ("2vuy", "5.1 back", "s24le", "first", []),
    "r210-s32be-bitmap": ("r210", "5.1 back", "s32be", "last", []),
    "v210-f64be-bitmap-first": ("v210", "5.1 back", "f64be", "first", []),
    "v210-timecode": ("v210", "stereo", "s16le", "last", ["-timecode", "01:02:03:04"]),
    "2vuy-timecode-bitmap-first": ("2vuy", "5.1 back", "s24be", "first",
                                   ["-timecode", "10:00:00:00"]),
    "v210-silent": ("v210", None, None, "last", []),
    "2vuy-silent-first": ("2vuy", None, None, "first", []),
    "r210-silent-timecode": ("r210", None, None, "last", ["-timecode", "00:00:01:00"]),
    "v210-29.97": ("v210", "stereo", "s24le", "first", ["-r", "30000/1001"]),
}


def unmended():
    """As ffmpeg writes them: refused for the data handler, some for the sound layout as well."""
    for name, (codec, layout, kind, place, options) in UNMENDED.items():
        sound = [noise(layout), "-c:a", f"pcm_{kind}"] if layout else []
        flags = ["-movflags", "+faststart"] if place == "first" else []
        yield Recipe(f"unmended {name}",
                     [ffmpeg(picture("48x16"), *sound, PICTURES[codec], flags, options, "raw.mov")],
                     {f"unmended/{name}.mov": ("keep", "raw.mov")}, measured=False)
    yield Recipe("unmended three sounds",
                 [ffmpeg(picture("48x16"), noise("stereo", seed=1), noise("5.1 back", seed=11),
                         noise("mono", seed=21), "-map", "0", "-map", "1", "-map", "2",
                         "-map", "3", PICTURES["v210"], "-c:a", "pcm_s24be", "raw.mov")],
                 {"unmended/three-sounds.mov": ("keep", "raw.mov")}, measured=False)


def refused():
    """What must not be imported, and what is not a movie at all."""
    sound = ["-c:a", "pcm_s16le"]
    v210 = PICTURES["v210"]

    def refuse(name, *command, edit=("retag",)):
        return Recipe(f"refused {name}", [ffmpeg(*command, "raw.mov")],
                      {f"refused/{name}.mov": (edit[0], "raw.mov", *edit[1:])}, measured=False)

    yield refuse("url-handler", picture(), noise("stereo"), v210, sound, edit=("keep",))
    yield refuse("h264", picture(), noise("stereo"), "-c:v", "libx264", sound)
    yield refuse("no-video", noise("stereo"), sound)
    yield refuse("two-videos", picture(), picture(), "-map", "0", "-map", "1", v210)
    yield refuse("mixed-sounds", picture(), noise("stereo"), noise("stereo"), "-map", "0",
                 "-map", "1", "-map", "2", v210, "-c:a:0", "pcm_s16le", "-c:a:1",
                 "pcm_s24le")
    yield Recipe("refused mp4", [ffmpeg(picture(), noise("stereo"), "-c:v", "libx264",
                                        "-c:a", "aac", "raw.mp4")],
                 {"refused/h264.mp4": ("keep", "raw.mp4")}, measured=False)
    yield Recipe("refused, no encoder's", [],
                 {"refused/empty.mov": ("write", None, ""),
                  "refused/not-a-movie.mov": ("write", None, NO_MOVIE),
                  "refused/unfinished.mov": ("write", None, UNFINISHED)}, measured=False)
    yield refuse("cut-off", picture(), v210, edit=("cut", 10000))
    for kind in ("s24le", "s32be", "f32le", "f64be"):
        yield refuse(f"bitmap-layout-{kind}", picture(), noise("5.1 back"), v210,
                     "-c:a", f"pcm_{kind}")


def odd():
    """Imported, with a part that cannot be delivered."""
    yield Recipe("16-bit raw",
                 [ffmpeg(picture(), noise("stereo"), PICTURES["2vuy"], "-c:a", "pcm_s16le",
                         "source.mov"),
                  ["lqt_transcode", "-vc", "2vuy", "-ac", "rawaudio", "source.mov", "raw.mov"]],
                 {"odd/16-bit-raw.mov": ("keep", "raw.mov")}, measured=False)
    yield Recipe("four channels",
                 [ffmpeg(picture(), noise("stereo"), "-af", "pan=4.0|c0=c0|c1=c1|c2=c0|c3=c1",
                         PICTURES["v210"], "-c:a", "pcm_s16le", "raw.mov")],
                 {"odd/four-channels.mov": ("retag", "raw.mov")})


def checked():
    """What `kvx check` has something to say about, from the encoders that write it."""
    sound = ["-c:a", "pcm_s16le"]
    v210 = PICTURES["v210"]

    def check(name, *command, edit=("retag",)):
        return Recipe(f"checked {name}", [ffmpeg(*command, "raw.mov")],
                      {f"checked/{name}.mov": (edit[0], "raw.mov", *edit[1:])}, measured=False)

    yield check("ffmpeg-fragments", picture(), noise("stereo"), v210, sound, "-movflags",
                "frag_keyframe+empty_moov")
    yield check("ffmpeg-delayed-sound", picture(seconds=1), "-itsoffset", "0.5", noise("stereo"),
                v210, sound)
    yield check("ffmpeg-variable-rate", picture(seconds=0.4), "-vf", "select=not(eq(n\\,3))",
                "-fps_mode", "vfr", v210)
    yield check("ffmpeg-prores", picture(), "-c:v", "prores_ks")
    yield check("ffmpeg-jpeg", picture(), "-c:v", "mjpeg", "-pix_fmt", "yuvj422p")
    yield check("ffmpeg-aac", picture(), noise("stereo", 0.5), v210, "-c:a", "aac")
    yield check("ffmpeg-mulaw", picture(), noise("stereo"), v210, "-c:a", "pcm_mulaw")
    yield check("ffmpeg-709", picture(), v210, "-colorspace", "bt709", "-color_primaries", "bt709",
                "-color_trc", "bt709")
    yield check("ffmpeg-601-in-hd", picture("1280x720", seconds=0.04), PICTURES["2vuy"],
                "-colorspace", "smpte170m", "-color_primaries", "smpte170m", "-color_trc", "bt709")
    yield check("ffmpeg-cut-off", picture(seconds=0.4), v210, "-movflags", "+faststart",
                edit=("shorten", 20000))
    for rate in (15, 120):
        yield check(f"ffmpeg-timecode-{rate}", picture(rate=rate, seconds=0.2), v210, "-timecode",
                    "00:00:00:00")

    def gstreamer(name, pictures, sounds):
        return Recipe(f"checked {name}", [[
            "gst-launch-1.0", "-q",
            "videotestsrc", "num-buffers=4", "!",
            "video/x-raw,width=96,height=64,framerate=25/1", "!", *pictures, "!", "queue", "!",
            "mux.",
            "audiotestsrc", "num-buffers=4", "samplesperbuffer=1920", "!", *sounds, "!", "queue",
            "!", "mux.", "qtmux", "name=mux", "!", "filesink", "location=raw.mov",
        ]], {f"checked/{name}.mov": ("keep", "raw.mov")}, measured=False)

    uncompressed = ["videoconvert", "!", "video/x-raw,format=v210"]
    yield gstreamer("gstreamer-jpeg", ["jpegenc"],
                    ["audio/x-raw,format=S16LE,rate=48000,channels=2"])
    yield gstreamer("gstreamer-alaw", uncompressed,
                    ["audio/x-raw,format=S16LE,rate=8000,channels=1", "!", "alawenc"])
    yield gstreamer("gstreamer-four-channels", uncompressed,
                    ["audio/x-raw,format=S16LE,rate=48000,channels=4,channel-mask=(bitmask)0"])

    for name, options in {"libquicktime-jpeg": ["-vc", "jpeg", "-ac", "twos"],
                          "libquicktime-ulaw": ["-vc", "v210", "-ac", "ulaw"],
                          "libquicktime-ima4": ["-vc", "2vuy", "-ac", "ima4"]}.items():
        yield Recipe(f"checked {name}", [
            ffmpeg(picture(), noise("stereo"), PICTURES["2vuy"], "-c:a", "pcm_s16le",
                   "source.mov"),
            ["lqt_transcode", *options, "source.mov", "raw.mov"],
        ], {f"checked/{name}.mov": ("keep", "raw.mov")}, measured=False)


def all_recipes():
    for family in (matrix, sizes_and_rates, tracks, timecodes, layouts, large, gstreamer,
                   libquicktime, odd, aligned, pictures, unmended, refused, checked):
        yield from family()
