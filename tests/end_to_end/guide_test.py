#!/usr/bin/env python3
"""Runs the recipes of the user's guide as they stand there, on movies of the tests.

usage: guide_test.py KVX GUIDE FOLDER

In a line of a shell block MOVIE is a movie, of the format that the comment behind the line names, COPY a
copy of it, and IN a movie that has to be converted; size and rate are put in from `kvx info`, as the guide
says. What a line writes, OUT.*, has to have the frames or the sound of the movie that it is from, and what
`kvx mend` has mended is imported.
"""

import json
import re
import shutil
import stat
import subprocess
import sys
import tempfile
from pathlib import Path

MOVIES = {"2vuy": "sizes/1080p50-2vuy.mov", "v210": "sizes/1080p25-v210.mov"}
REFUSED = "refused/h264.mov"
# It plays in real time, to loudspeakers, into a window, and stays.
PLAYER = """#!/bin/sh
SDL_AUDIODRIVER=dummy exec {player} -nodisp -autoexit -loglevel error "$@"
"""


# Run by the tests of installation and of packages, which have a place for it.
INSTALLATION = re.compile(r"^## Installing it\n.*?(?=^## )", re.MULTILINE | re.DOTALL)


def recipes(guide):
    guide, sections = INSTALLATION.subn("", guide)
    if sections != 1:
        sys.exit("the guide has no section of that name")
    for block in re.findall(r"^```sh\n(.*?)^```", guide, re.MULTILINE | re.DOTALL):
        for line in block.splitlines():
            command, _, comment = line.partition("#")
            if command.strip():
                yield command.strip(), comment.strip()


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False,
                          **options)


def decoded(path, *form):
    result = run(["ffmpeg", "-v", "error", "-i", str(path), *form, "-"])
    assert result.returncode == 0, result.stderr.decode()
    return result.stdout


def check_output(path, movie, source):
    if movie["video"] and path.suffix in (".mkv", ".mp4", ".mov"):
        video = movie["video"][0]
        form = ["-map", "0:v:0", "-f", "rawvideo", "-pix_fmt", "gray"]
        pictures, expected = decoded(path, *form), decoded(source, *form)
        size = video["width"] * video["height"] * video["frames"]
        assert len(pictures) == len(expected) == size, (path, len(pictures), size)
        # What lossy coding and rounding change is far less.
        some = range(0, size, 101)
        difference = sum(abs(pictures[at] - expected[at]) for at in some) / len(some)
        assert difference < 4, (path, difference)
    else:
        # The first bits of each sample, however many the form of the file has.
        form = ["-map", "0:a:0", "-f", "s16le", "-c:a", "pcm_s16le"]
        sound, expected = decoded(path, *form), decoded(source, *form)
        assert len(sound) == len(expected) > 0, (path, len(sound), len(expected))
        assert max(abs(a - b) for a, b in zip(memoryview(sound).cast("h"),
                                              memoryview(expected).cast("h"))) <= 1, path


def play(command, comment, kvx, folder, place):
    """What came of the line, in a folder of its own."""
    kind = "2vuy" if "2vuy" in comment else "v210"
    source = folder / MOVIES[kind]
    movie = json.loads(run([kvx, "info", "--json", str(source)]).stdout)[0]
    assert movie["video"][0]["format"] == kind, movie
    # A folder of movies, one of which can't be imported.
    shutil.copy(source, place / "movie.mov")
    shutil.copy(source, place / "copy.mov")
    shutil.copy(folder / REFUSED, place / "refused.mov")
    tools = place / ".tools"
    tools.mkdir()
    (tools / "kvx").symlink_to(kvx)
    player = tools / "ffplay"
    player.write_text(PLAYER.format(player=shutil.which("ffplay")))
    player.chmod(player.stat().st_mode | stat.S_IXUSR)
    video = movie["video"][0]
    words = re.sub(r"\bMOVIE\b", "movie.mov", command)
    words = re.sub(r"\bCOPY\b", "copy.mov", words)
    words = re.sub(r"\bIN\b", "refused.mov", words)
    words = words.replace("1920x1080", f"{video['width']}x{video['height']}")
    words = re.sub(r"(-r|-framerate) 25\b", rf"\1 {video['time_scale']}/{video['frame_duration']}", words)
    result = run(["bash", "-c", 'PATH="$PWD/.tools:$PATH"; ' + words], cwd=place)
    said = result.stderr.decode()
    assert result.returncode == 0, said
    assert "kvx:" not in said and "rror" not in said, said
    outputs = sorted(place.glob("OUT.*"))
    assert outputs or "OUT." not in command, "nothing was written"
    origin = folder / REFUSED if "refused.mov" in words else source
    for output in outputs:
        check_output(output, json.loads(run([kvx, "info", "--json", str(origin)]).stdout)[0], origin)
        if "kvx mend" in command:
            assert run([kvx, "check", str(output)]).returncode in (0, 4), output
    if '!= "imports"' in command:
        assert result.stdout.decode() == "./refused.mov\n", result.stdout


def main():
    kvx, guide, folder = Path(sys.argv[1]).resolve(), Path(sys.argv[2]), Path(sys.argv[3]).resolve()
    lines = list(recipes(guide.read_text()))
    assert lines, "the guide has no recipes"
    failed = 0
    for command, comment in lines:
        with tempfile.TemporaryDirectory() as place:
            try:
                play(command, comment, kvx, folder, Path(place))
                print(f"runs: {command}")
            except AssertionError as error:
                failed += 1
                print(f"FAILS: {command}\n{error}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
