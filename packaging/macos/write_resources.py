#!/usr/bin/env python3
"""Writes the importer's resource file: one resource, type IMPT, ID 1000, the code 'KVXI'.

The host takes a bundle for an importer when it finds an IMPT resource; the word in it tells importers
apart. The form is that of a resource fork in a file's data ("Inside Macintosh: More Macintosh
Toolbox", chapter 1), big-endian throughout: a header, the resources' data, the resource map.
Usage: write_resources.py OUTPUT
"""

import struct
import sys

IMPORTER_CODE = b"KVXI"

HEADER_SIZE = 16
# The header is followed by 112 bytes for the system and 128 for the application.
DATA_OFFSET = 256
MAP_FIXED_SIZE = 28  # up to the type list
NO_NAME = 0xFFFF


def resource_file(kind, number, contents):
    """The bytes of a resource file that holds `contents` alone."""
    data = struct.pack(">I", len(contents)) + contents

    # Counts are stored less one. The reference list's place counts from the type list's start.
    types = struct.pack(">H4sHH", 0, kind, 0, 10)
    # ID, name, attributes, three bytes of offset into the data, room for a handle.
    references = struct.pack(">hHB3sI", number, NO_NAME, 0, bytes(3), 0)
    names_offset = MAP_FIXED_SIZE + len(types) + len(references)
    map_size = names_offset  # no names

    header = struct.pack(">4I", DATA_OFFSET, DATA_OFFSET + len(data), len(data), map_size)
    # The header again, then a handle, a file number and attributes for use in memory.
    fixed = header + struct.pack(">IHHHH", 0, 0, 0, MAP_FIXED_SIZE, names_offset)
    return header + bytes(DATA_OFFSET - HEADER_SIZE) + data + fixed + types + references


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: write_resources.py OUTPUT")
    with open(sys.argv[1], "wb") as output:
        output.write(resource_file(b"IMPT", 1000, IMPORTER_CODE))


if __name__ == "__main__":
    main()
