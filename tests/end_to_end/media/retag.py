#!/usr/bin/env python3
"""Copies a movie and gives every track the data handler of QuickTime's own files.

ffmpeg names the media data handler "url " and writes "url " data references. Both become "alis",
with flags and sizes unchanged: a self-contained reference says the same in either form.
"""

import sys

from atoms import top_level


def retag(data):
    """Edits `data`, a bytearray with a whole movie, in place."""
    moov = top_level(data, b"moov")
    for minf in moov.find(b"trak", b"mdia", b"minf"):
        for handler in minf.find(b"hdlr"):
            if handler.get(16, "4s") == (b"url ",):
                handler.put(16, "4s", b"alis")
        for references in minf.find(b"dinf", b"dref"):
            for reference in references.children(b"url ", skip=8):
                reference.put(4, "4s", b"alis")


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: retag.py MOVIE COPY")
    with open(sys.argv[1], "rb") as movie:
        data = bytearray(movie.read())
    retag(data)
    with open(sys.argv[2], "wb") as copy:
        copy.write(data)


if __name__ == "__main__":
    main()
