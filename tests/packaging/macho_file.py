"""Reads a 64-bit Mach-O file, as far as the tests of the bundle ask."""

import hashlib
import struct

SYMBOL_TABLE, SEGMENT, CODE_SIGNATURE, FUNCTION_STARTS = 0x2, 0x19, 0x1D, 0x26


PROCESSORS = {0x01000007: "x86_64", 0x0100000C: "arm64"}


def slices_of(data):
    """The files that a universal file holds, by their processors."""
    magic, count = struct.unpack_from(">2I", data)
    assert magic == 0xCAFEBABE
    slices = {}
    for number in range(count):
        processor, _, offset, size, _ = struct.unpack_from(">5I", data, 8 + 20 * number)
        slices[PROCESSORS[processor]] = data[offset:offset + size]
    return slices


class MachOFile:
    def __init__(self, data):
        self.data = data
        self.commands, self.sections, self.segments = {}, {}, {}
        count, place = struct.unpack_from("<I", data, 16)[0], 32
        for _ in range(count):
            command, size = struct.unpack_from("<2I", data, place)
            self.commands[command] = place
            if command == SEGMENT:
                self._read_segment(place)
            place += size

    def _read_segment(self, place):
        name, = struct.unpack_from("<16s", self.data, place + 8)
        _, _, offset, _, _, _, sections, flags = struct.unpack_from("<4Q2i2I", self.data, place + 24)
        self.segments[name.rstrip(b"\0").decode()] = {"offset": offset, "flags": flags}
        for number in range(sections):
            at = place + 72 + 80 * number
            section, segment, address, size, offset = struct.unpack_from("<16s16s2QI", self.data, at)
            key = segment.rstrip(b"\0").decode(), section.rstrip(b"\0").decode()
            self.sections[key] = address, self.data[offset:offset + size]

    def linkedit(self, command):
        """The bytes that a command of the link-edit kind leads to."""
        offset, size = struct.unpack_from("<2I", self.data, self.commands[command] + 8)
        return self.data[offset:offset + size]

    def function_starts(self):
        starts, address = set(), 0
        deltas = self.linkedit(FUNCTION_STARTS)
        place = 0
        while place < len(deltas):
            delta, place = uleb(deltas, place)
            if delta == 0:
                break
            address += delta
            starts.add(address)
        return starts

    def symbol_types(self):
        """The type byte of each symbol."""
        offset, count = struct.unpack_from("<2I", self.data, self.commands[SYMBOL_TABLE] + 8)
        return [self.data[offset + 16 * number + 4] for number in range(count)]

    def frame_entries(self):
        """The first address of the function of each entry in __eh_frame."""
        address, data = self.sections["__TEXT", "__eh_frame"]
        encodings, entries, place = {}, [], 0
        while place + 4 <= len(data):
            length, = struct.unpack_from("<I", data, place)
            if length == 0:
                break
            start = place + 4
            distance, = struct.unpack_from("<I", data, start)
            if distance == 0:
                encodings[place] = pointer_encoding(data, start + 4)
            else:
                encoding = encodings[start - distance]
                kind = {0x0: "<Q", 0xB: "<i", 0xC: "<q"}[encoding & 0xF]
                value, = struct.unpack_from(kind, data, start + 4)
                if encoding & 0x10:  # counted from where it stands
                    value += address + start + 4
                entries.append(value % (1 << 64))
            place = start + length
        return entries

    def signature(self):
        """The code directory: its flags, and whether each page has the hash that it states."""
        blob = self.linkedit(CODE_SIGNATURE)
        magic, _, count = struct.unpack_from(">3I", blob)
        assert magic == 0xFADE0CC0
        slots = dict(struct.unpack_from(">2I", blob, 12 + 8 * number) for number in range(count))
        directory = blob[slots[0]:]
        (magic, _, _, flags, hashes, _, _, pages, limit) = struct.unpack_from(">9I", directory)
        hash_size, hash_type, _, page_bits = struct.unpack_from("4B", directory, 36)
        assert magic == 0xFADE0C02 and hash_type == 2  # SHA-256
        good = []
        for number in range(pages):
            page = self.data[number << page_bits:min((number + 1) << page_bits, limit)]
            stated = directory[hashes + hash_size * number:hashes + hash_size * (number + 1)]
            good.append(hashlib.sha256(page).digest() == stated)
        return {"flags": flags, "limit": limit, "pages": good}


def uleb(data, place):
    value, shift = 0, 0
    while True:
        byte = data[place]
        value |= (byte & 0x7F) << shift
        shift, place = shift + 7, place + 1
        if byte < 0x80:
            return value, place


def pointer_encoding(data, place):
    """That of a common entry, which begins behind its number."""
    assert data[place] == 1
    end = data.index(0, place + 1)
    letters = data[place + 1:end].decode()
    _, place = uleb(data, end + 1)  # alignment of code
    _, place = uleb(data, place)  # alignment of data; signed, of the same length
    place += 1  # the return address
    encoding = 0
    for letter in letters:
        if letter == "z":
            _, place = uleb(data, place)
        elif letter == "P":
            place += 1 + {0x0: 8, 0xB: 4}[data[place] & 0xF]
        elif letter == "L":
            place += 1
        elif letter == "R":
            encoding = data[place]
            place += 1
    return encoding
