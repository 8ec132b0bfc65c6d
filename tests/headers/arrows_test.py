#!/usr/bin/env python3
"""Checks that an arrow between the folders points only down.

usage: arrows_test.py SOURCE_FOLDER
"""

import re
import sys
from pathlib import Path

# Each folder, and those that it may include from besides itself.
BOTTOM = {"premiere", "platform"}
CORE = BOTTOM | {"core"}
BASE = CORE | {"timecode", "util"}
QUICKTIME = BASE | {"quicktime"}
CONVERT = QUICKTIME | {"convert"}
PIPELINE = CONVERT | {"pipeline"}
ARROWS = {
    "premiere": set(),
    "platform": set(),
    "core": BOTTOM,
    "timecode": CORE,
    "util": CORE,
    "quicktime": BASE,
    "convert": QUICKTIME,
    "pipeline": CONVERT,
    "host": PIPELINE,
}
# The inspector looks at movies by itself: of the reader it takes the bounded views of atoms, and
# what is known of formats. The stand-in host and the command know the importer by its interface.
# The command borrows codes, texts, layouts and the counting of timecodes, which have nothing to do
# with a movie.
OUTSIDE = {
    "hostkit": {"premiere"},
    "inspect": BASE | {"quicktime/atom.h", "quicktime/video_formats.h", "quicktime/wrapping.h"},
    "cli": {"premiere", "hostkit", "inspect", "core/big_endian.h", "core/four_char_code.h",
            "pipeline/custom_frame.h", "platform/core_audio_types.h", "quicktime/video_formats.h",
            "timecode/ctimecode.h", "timecode/timecode_format.h", "util/text.h"},
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def sources(folder):
    return sorted(path for path in folder.rglob("*") if path.suffix in (".h", ".cpp"))


def wrong_includes(folder, allowed):
    for path in sources(folder):
        for header in INCLUDE.findall(path.read_text(encoding="utf-8")):
            target = header.split("/")[0]
            if target not in allowed | {folder.name} and header not in allowed:
                yield f"{path}: includes {header}"


def main():
    root = Path(sys.argv[1])
    folders = {path.name for path in (root / "src").iterdir() if path.is_dir()}
    wrong = [f"src/{name}: its place is not known here" for name in sorted(folders - set(ARROWS))]
    for name, allowed in ARROWS.items():
        wrong += wrong_includes(root / "src" / name, allowed)
    for name, allowed in OUTSIDE.items():
        wrong += wrong_includes(root / name, allowed)
    if wrong:
        sys.exit("\n".join(wrong))


if __name__ == "__main__":
    main()
