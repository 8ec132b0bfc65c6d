#include "inspect/made_movies.h"

#include <sys/stat.h>

#include <filesystem>
#include <utility>

#include "support/alias_records.h"
#include "support/movie_file.h"

namespace kvx_test {

namespace {

using Codes = std::vector<std::string>;

constexpr int kFrames = 10;
constexpr uint32_t kFrameBytes = 256;  // v210, 48 x 2

VideoDescription Pictures(const Bytes& format = "v210") {
    VideoDescription video;
    video.format = format;
    video.width = 48;
    video.height = 2;
    video.extensions = {PixelAspect(1, 1), FieldHandling(1, 0)};
    return video;
}

TrackRecipe VideoTrack(const VideoDescription& video = Pictures()) {
    return VideoTrackRecipe(video, kFrameBytes, kFrames);
}

TrackRecipe Sound(const AtomNode& description, uint32_t frameSize = 4) {
    return SoundTrackRecipe(description, frameSize, 20000, 48000, kMediaOffset + 0x1000);
}

TrackRecipe Timecode(const TimeCodeDescription& description) {
    return TimeCodeTrackRecipe(description, kFrames, kMediaOffset + 0x800);
}

AtomNode Colour(int matrix) {
    return {"colr", "nclc" + big16(1) + big16(1) + big16(matrix)};
}

AtomNode Aperture(int width, int height) {
    return {"clap", big32(width) + big32(1) + big32(height) + big32(1) + big32(0) + big32(1) +
                        big32(0) + big32(1)};
}

MadeMovie Make(const std::string& name, const Codes& codes, const MovieRecipe& recipe) {
    return {name, codes,
            [recipe](const TempDirectory& directory) { return WriteMovie(directory, recipe); }};
}

MadeMovie Make(const std::string& name, const Codes& codes, std::vector<TrackRecipe> tracks,
               std::function<void(AtomNode& moov)> change = nullptr) {
    MovieRecipe recipe;
    recipe.tracks = std::move(tracks);
    recipe.change = std::move(change);
    return Make(name, codes, recipe);
}

MadeMovie MakeFile(const std::string& name, const Codes& codes, const Bytes& bytes) {
    return {name, codes, [bytes](const TempDirectory& directory) {
                std::string path = directory.File("file.mov");
                WriteFile(path, bytes);
                return path;
            }};
}

// With the movie atom in front, and the last 100 bytes cut off.
MadeMovie MakeShort(const std::string& name, const Codes& codes, std::vector<TrackRecipe> tracks) {
    MovieRecipe recipe;
    recipe.tracks = std::move(tracks);
    return {name, codes, [recipe](const TempDirectory& directory) {
                std::string path = WriteMovie(directory, recipe, {kMediaOffset, true});
                std::filesystem::resize_file(path, std::filesystem::file_size(path) - 100);
                return path;
            }};
}

// Its media in a file of its own: movie and media in one folder, the record has the whole path.
MadeMovie MakeReference(const std::string& name, const Codes& codes,
                        std::function<void(const std::string& path)> makeMedia) {
    return {name, codes, [makeMedia = std::move(makeMedia)](const TempDirectory& directory) {
                const std::string media = directory.File("media.mov");
                makeMedia(media);
                MovieRecipe recipe;
                recipe.tracks = {VideoTrack()};
                recipe.tracks[0].dataReferences = {
                    AliasReference(AliasVersion3(0, AliasItems({{18, media}, {19, "/"}})))};
                std::string path = directory.File("movie.mov");
                WriteMovieFile(path, BuildMoov(recipe), {});
                return path;
            }};
}

void Add(std::vector<MadeMovie>& all, std::vector<MadeMovie> more) {
    all.insert(all.end(), more.begin(), more.end());
}

std::vector<MadeMovie> FileMovies() {
    const AtomNode start = {"ftyp", "qt  " + zeros(12)};
    const AtomNode media = {"mdat", Bytes(64, 'm')};
    AtomNode cutOff = media;
    cutOff.writtenSize = 1000;
    AtomNode unfinished = media;
    unfinished.writtenSize = 0;
    AtomNode tooShort = {"moov"};
    tooShort.writtenSize = 7;
    AtomNode cutTrack = BuildMoov([] {
        MovieRecipe recipe;
        recipe.tracks = {VideoTrack()};
        return recipe;
    }());
    const Bytes whole = cutTrack.Serialize();
    MovieRecipe large;
    large.tracks = {VideoTrack()};
    large.change = [](AtomNode& moov) { moov.children.push_back({"free", zeros(0x800000)}); };
    return {
        {"missing", {"unreadable"}, [](const TempDirectory& d) { return d.File("none.mov"); }},
        {"folder",
         {"unreadable"},
         [](const TempDirectory& d) {
             mkdir(d.File("folder.mov").c_str(), 0755);
             return d.File("folder.mov");
         }},
        {"pipe",
         {"unreadable"},
         [](const TempDirectory& d) {
             mkfifo(d.File("pipe.mov").c_str(), 0644);
             return d.File("pipe.mov");
         }},
        MakeFile("empty", {"not-quicktime"}, ""),
        MakeFile("five bytes", {"not-quicktime"}, "short"),
        MakeFile("text", {"not-quicktime"}, "Lorem ipsum dolor sit amet, consectetur"),
        MakeFile("unknown atom alone", {"not-quicktime"}, AtomNode{"abcd", "x"}.Serialize()),
        MakeFile("no movie atom", {"moov-missing"}, start.Serialize() + media.Serialize()),
        MakeFile("cut off in the media", {"moov-missing"}, start.Serialize() + cutOff.Serialize()),
        MakeFile("never finished", {"moov-missing"}, start.Serialize() + unfinished.Serialize()),
        MakeFile("movie atom of 7 bytes", {"damaged"}, tooShort.Serialize()),
        MakeFile("cut off in the last track", {"damaged", "no-video"},
                 whole.substr(0, whole.size() - 20)),
        {"large tables",
         {"moov-too-large"},
         [large](const TempDirectory& directory) { return WriteMovie(directory, large); }},
    };
}

std::vector<MadeMovie> Damages() {
    const auto sized = [](std::vector<uint32_t> sizes) {
        TrackRecipe track = VideoTrack();
        track.constantSize = 0;
        track.sizes = std::move(sizes);
        return track;
    };
    const std::vector<uint32_t> sizes(kFrames, kFrameBytes);
    std::vector<uint32_t> nothing = sizes;
    nothing[3] = 0;
    std::vector<MadeMovie> all;
    for (const char* path :
         {"mvhd", "trak/tkhd", "trak/mdia", "trak/mdia/mdhd", "trak/mdia/hdlr",
          "trak/mdia/minf/dinf", "trak/mdia/minf/stbl/stsd", "trak/mdia/minf/stbl/stts",
          "trak/mdia/minf/stbl/stsc", "trak/mdia/minf/stbl/stsz", "trak/mdia/minf/stbl/stco"}) {
        Codes codes = {"damaged"};
        const std::string gone(path);
        if (gone == "trak/mdia" || gone == "trak/mdia/hdlr") {
            codes = {"no-video", "damaged"};
        }
        all.push_back(Make("without " + gone, codes, {VideoTrack()},
                           [gone](AtomNode& moov) { moov.Remove(gone); }));
    }
    const auto poked = [&](const std::string& name, const std::string& path, size_t offset,
                           const Bytes& bytes, const Codes& codes = {"damaged"}) {
        all.push_back(Make(name, codes, {VideoTrack()},
                           [=](AtomNode& moov) { moov.At(path).Poke(offset, bytes); }));
    };
    poked("movie time scale 0", "mvhd", 20, big32(0));
    poked("media time scale 0", "trak/mdia/mdhd", 20, big32(0));
    poked("no sample description", "trak/mdia/minf/stbl/stsd", 12, big32(0));
    poked("too many durations", "trak/mdia/minf/stbl/stts", 12, big32(2));
    poked("chunk 0", "trak/mdia/minf/stbl/stsc", 16, big32(0));
    poked("chunk at 0", "trak/mdia/minf/stbl/stco", 16, big32(0));
    all.push_back(Make("a sample of no bytes", {"damaged"}, {sized(nothing)}));
    all.push_back(Make("too few sizes", {"damaged"}, {sized(sizes)}, [](AtomNode& moov) {
        AtomNode& table = moov.At("trak/mdia/minf/stbl/stsz");
        table.payload.resize(table.payload.size() - 4);
    }));
    return all;
}

std::vector<MadeMovie> References() {
    TrackRecipe ffmpegs = VideoTrack();
    ffmpegs.dataHandler = DataHandler{"dhlr", "url "};
    ffmpegs.dataReferences = {{"url ", big32(1)}};
    TrackRecipe selfUrl = VideoTrack();
    selfUrl.dataReferences = {{"url ", big32(1)}};
    TrackRecipe url = VideoTrack();
    url.dataReferences = {UrlReference("http://example.org/a.mov")};
    TrackRecipe resource = VideoTrack();
    resource.dataReferences = {ResourceReference(AliasExampleVersion3())};
    TrackRecipe foreign = VideoTrack();
    foreign.dataReferences = {{"cios", big32(0)}};
    TrackRecipe none = VideoTrack();
    none.dataReferences = {};
    TrackRecipe damaged = VideoTrack();
    damaged.dataReferences = {AliasReference("no record")};
    const Bytes media = Bytes(kMediaOffset + 0x2000, 'm');
    return {
        Make("data handler of ffmpeg", {"data-handler"}, {ffmpegs}),
        Make("url that is the movie", {"media-missing"}, {selfUrl}),
        Make("url elsewhere", {"media-missing"}, {url}),
        Make("resource", {"media-missing"}, {resource}),
        Make("foreign reference", {"media-missing"}, {foreign}),
        Make("no reference", {"media-missing"}, {none}),
        Make("damaged alias", {"media-missing"}, {damaged}),
        MakeReference("reference", {"external-media"},
                      [media](const std::string& path) { WriteFile(path, media); }),
        MakeReference("reference to nothing", {"media-missing"}, [](const std::string&) {}),
        MakeReference("reference to a folder", {"media-missing"},
                      [](const std::string& path) { mkdir(path.c_str(), 0755); }),
        MakeReference("reference to a pipe", {"media-missing"},
                      [](const std::string& path) { mkfifo(path.c_str(), 0644); }),
        MakeReference("reference to a short file", {"truncated", "external-media"},
                      [](const std::string& path) { WriteFile(path, Bytes(kMediaOffset, 'm')); }),
    };
}

std::vector<MadeMovie> PictureMovies() {
    const auto with = [](AtomNode extension) {
        VideoDescription video = Pictures();
        video.extensions.push_back(std::move(extension));
        return VideoTrack(video);
    };
    VideoDescription bare = Pictures();
    bare.extensions = {};
    VideoDescription flat = Pictures();
    flat.height = 0;
    VideoDescription wide = Pictures("2vuy");
    wide.width = 128;
    wide.height = 1;
    VideoDescription hd = Pictures("2vuy");
    hd.width = 1920;
    hd.height = 1;
    hd.extensions.push_back(Colour(6));
    VideoDescription rgb = Pictures("r210");
    rgb.width = 64;
    rgb.height = 1;
    rgb.extensions.push_back(Colour(9));
    TrackRecipe uneven = VideoTrack();
    uneven.durations = {{4, 1000}, {4, 2000}, {2, 1000}};
    uneven.headerDuration = 350;
    TrackRecipe oddLast = VideoTrack();
    oddLast.durations = {{9, 1000}, {1, 500}};
    TrackRecipe empty = VideoTrack();
    empty.headerDuration = 0;
    TrackRecipe fragments = VideoTrackRecipe(Pictures(), kFrameBytes, 0);
    VideoDescription interlaced = bare;
    interlaced.height = 576;
    interlaced.extensions = {PixelAspect(16, 15)};
    return {
        Make("nothing to say", {}, {VideoTrack()}),
        Make("last frame shorter", {}, {oddLast}),
        Make("no extensions", {"fields-assumed", "pixel-aspect-missing"}, {VideoTrack(bare)}),
        Make("576 lines", {"fields-assumed"}, {VideoTrackRecipe(interlaced, 128 * 576, 1)}),
        Make("H.264", {"codec"}, {VideoTrack(Pictures("avc1"))}),
        Make("no video", {"no-video"}, {Sound(Describe(SoundDescriptionV0{}))}),
        Make("no track", {"no-video"}, std::vector<TrackRecipe>{}),
        Make("two videos", {"several-videos"}, {VideoTrack(), VideoTrack()}),
        Make("no lines", {"frame-size"}, {VideoTrack(flat)}),
        Make("size of another width", {}, {VideoTrack(wide)}),
        Make("too few bytes in a frame", {"frame-size-mismatch"},
             {VideoTrackRecipe(Pictures(), 192, kFrames)}),
        Make("too many bytes in a frame", {"frame-size-mismatch"},
             {VideoTrackRecipe(Pictures(), 512, kFrames)}),
        Make("601 in a narrow frame", {}, {with(Colour(6))}),
        Make("709 in a narrow frame", {"colour-tag"}, {with(Colour(1))}),
        Make("matrix not said", {}, {with(Colour(2))}),
        Make("601 in a wide frame", {"colour-tag"}, {VideoTrackRecipe(hd, 3840, kFrames)}),
        Make("RGB", {"range"}, {VideoTrack(rgb)}),
        Make("clean aperture of all", {}, {with(Aperture(48, 2))}),
        Make("clean aperture", {"clean-aperture"}, {with(Aperture(44, 2))}),
        Make("frames of two lengths", {"variable-rate"}, {uneven}),
        Make("no length", {"no-frames"}, {empty}),
        Make("fragments", {"fragmented"}, {fragments},
             [](AtomNode& moov) {
                 moov.children.push_back({"mvex", zeros(8)});
             }),
        MakeShort("last frame behind the end", {"truncated"}, {VideoTrack()}),
    };
}

std::vector<MadeMovie> Edits() {
    const auto edited = [](TrackRecipe track, std::vector<EditEntry> edits) {
        track.edits = std::move(edits);
        return track;
    };
    // 10 frames of 1/24 s: 250 units of the movie's 600.
    return {
        Make("identity", {}, {edited(VideoTrack(), {{250, 0}})}),
        Make("trimmed", {}, {edited(VideoTrack(), {{100, 3000}})}),
        Make("two cuts", {}, {edited(VideoTrack(), {{100, 5000}, {100, 0}})}),
        Make("delay", {"edit-list"}, {edited(VideoTrack(), {{100, -1}, {250, 0}})}),
        Make("gap", {"edit-list"}, {edited(VideoTrack(), {{100, 0}, {50, -1}, {100, 4000}})}),
        Make("half speed", {"edit-list"}, {edited(VideoTrack(), {{500, 0, 0x8000}})}),
        Make("still", {"edit-list"}, {edited(VideoTrack(), {{100, 0, 0}})}),
        Make("longer than the media", {"edit-list"}, {edited(VideoTrack(), {{600, 0}})}),
        Make("sound repeated", {"edit-list"},
             {VideoTrack(), edited(Sound(Describe(SoundDescriptionV0{})), {{240, 0}, {240, 0}})}),
        Make("64-bit edits", {"edit-list"}, {edited(VideoTrack(), {{250, 0}})},
             [](AtomNode& moov) { moov.At("trak/edts/elst").Poke(8, Bytes(1, '\1')); }),
    };
}

std::vector<MadeMovie> Sounds() {
    const auto v0 = [](const Bytes& format, int channels, int bits) {
        SoundDescriptionV0 sound;
        sound.format = format;
        sound.channels = channels;
        sound.bits = bits;
        return Sound(Describe(sound), static_cast<uint32_t>(channels * bits / 8));
    };
    const auto v2 = [](uint32_t flags, uint32_t bits, uint32_t structSize = 72) {
        SoundDescriptionV2 sound;
        sound.formatFlags = flags;
        sound.bits = bits;
        sound.structSize = structSize;
        sound.extensions = {{"chan", big32(0) + big32(101 << 16 | 2) + zeros(8)}};
        return Sound(Describe(sound), bits / 4);
    };
    const auto six = [](uint32_t tag) {
        SoundDescriptionV1 sound;
        sound.channels = 6;
        sound.bytesPerFrame = 12;
        sound.extensions = {ChannelLayout(tag)};
        return Sound(Describe(sound), 12);
    };
    SoundDescriptionV1 nothing;
    nothing.bytesPerFrame = 0;
    nothing.bits = 0;
    AtomNode unknownVersion = Describe(SoundDescriptionV0{});
    unknownVersion.Poke(16, big16(3));
    SoundDescriptionV1 mp3;
    mp3.format = ".mp3";
    mp3.samplesPerPacket = 1152;
    TrackRecipe compressed = Sound(Describe(mp3), 4);
    const auto beside = [](const std::string& name, const Codes& codes,
                           std::vector<TrackRecipe> tracks) {
        tracks.insert(tracks.begin(), VideoTrack());
        return Make(name, codes, tracks);
    };
    constexpr uint32_t kFloat = 1;
    constexpr uint32_t kBig = 2;
    constexpr uint32_t kSigned = 4;
    return {
        beside("stereo", {}, {v0("twos", 2, 16)}),
        beside("two alike", {}, {v0("twos", 2, 16), v0("twos", 1, 16)}),
        beside("two orders", {"sound-types-differ"}, {v0("twos", 2, 16), v0("sowt", 2, 16)}),
        beside("two sizes", {"sound-types-differ"}, {v0("twos", 2, 16), v0("raw ", 2, 8)}),
        beside("unsigned beside signed of 16 bits", {"sound-not-delivered"},
               {v0("sowt", 2, 16), v0("raw ", 2, 16)}),
        beside("known layout", {}, {six(0x00790006)}),
        beside("bitmap layout", {"sound-layout"}, {six(0x00010000)}),
        beside("12 bits", {"sound-form"}, {v0("twos", 2, 12)}),
        beside("64-bit integers", {"sound-form"}, {v0("sowt", 2, 64)}),
        beside("no bytes in a frame", {"sound-form"}, {Sound(Describe(nothing), 4)}),
        beside("version 3", {"sound-form"}, {Sound(unknownVersion, 4)}),
        beside("four channels", {"sound-not-delivered"}, {v0("twos", 4, 16)}),
        beside("16-bit raw", {"sound-not-delivered"}, {v0("raw ", 2, 16)}),
        beside("compressed", {"sound-compressed"}, {v0("ulaw", 2, 16)}),
        beside("MP3", {"sound-compressed"}, {compressed}),
        beside("version 2, big-endian", {}, {v2(kBig | kSigned, 16)}),
        beside("version 2, little-endian", {"sound-byte-order"}, {v2(kSigned, 16)}),
        beside("version 2, float", {"sound-byte-order"}, {v2(kFloat | kBig, 32)}),
        beside("short in24", {"sound-byte-order"}, {v0("in24", 2, 24)}),
        MakeShort("sound behind the end", {"truncated"}, {VideoTrack(), v0("twos", 2, 16)}),
    };
}

std::vector<MadeMovie> Timecodes() {
    const auto at = [](uint32_t scale, uint32_t duration, int count) {
        TimeCodeDescription description;
        description.timeScale = scale;
        description.frameDuration = duration;
        description.framesPerSecond = count;
        return Timecode(description);
    };
    return {
        Make("timecode", {}, {VideoTrack(), at(25, 1, 25)}),
        Make("timecode at 15", {"timecode-rate"}, {VideoTrack(), at(15, 1, 15)}),
        Make("timecode at 120", {"timecode-rate"}, {VideoTrack(), at(120, 1, 120)}),
        Make("two timecodes", {"timecode-several"}, {VideoTrack(), at(25, 1, 25), at(24, 1, 24)}),
    };
}

}  // namespace

std::vector<MadeMovie> MadeMovies() {
    std::vector<MadeMovie> all;
    for (const auto& family :
         {FileMovies(), Damages(), References(), PictureMovies(), Edits(), Sounds(), Timecodes()}) {
        Add(all, family);
    }
    return all;
}

}  // namespace kvx_test
