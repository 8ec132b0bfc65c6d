#!/usr/bin/env python3
"""Writes a copy of a source file with one planted fault.

usage: plant.py SOURCE_FOLDER FAULT OUTPUT

A fault is a text file: what it does, in words; a line "file: PATH"; a line "scenario: NAME" with the
scenario that finds it; then pairs of a passage between lines "<<<<" and "====" and what takes its
place, up to a line ">>>>". Each passage must stand in the file exactly once.
"""

import re
import sys
from pathlib import Path

PAIR = re.compile(r"^<<<<\n(.*?)^====\n(.*?)^>>>>$", re.MULTILINE | re.DOTALL)


def main():
    root, fault, output = map(Path, sys.argv[1:4])
    text = fault.read_text(encoding="utf-8")
    path = re.search(r"^file: (.*)$", text, re.MULTILINE).group(1)
    source = (root / path).read_text(encoding="utf-8")
    pairs = PAIR.findall(text)
    if not pairs:
        sys.exit(f"{fault}: there is no passage")
    for old, new in pairs:
        if source.count(old) != 1:
            sys.exit(f"{fault}: {path} has {source.count(old)} times:\n{old}")
        source = source.replace(old, new)
    output.write_text(source, encoding="utf-8")


if __name__ == "__main__":
    main()
