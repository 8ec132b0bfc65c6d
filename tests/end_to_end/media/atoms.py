"""A view of the atoms of a QuickTime file that lies in memory, for reading and editing in place."""

import struct

CONTAINERS = {b"moov", b"trak", b"edts", b"mdia", b"minf", b"dinf", b"stbl"}


class Atom:
    """One atom of `data`, a bytearray: where it starts, its header's size, its length, its type."""

    def __init__(self, data, start):
        self.data = data
        self.start = start
        self.length, self.type = struct.unpack_from(">I4s", data, start)
        self.header = 8
        if self.length == 1:
            (self.length,) = struct.unpack_from(">Q", data, start + 8)
            self.header = 16
        if self.length < self.header or start + self.length > len(data):
            raise ValueError(f"atom {self.type!r} at {start} has the length {self.length}")

    @property
    def body(self):
        return self.start + self.header

    @property
    def end(self):
        return self.start + self.length

    def children(self, type_=None, skip=0):
        """The atoms inside, `skip` bytes after the header; only those of `type_` if it is given."""
        yield from (a for a in atoms(self.data, self.body + skip, self.end)
                    if type_ in (None, a.type))

    def find(self, *path):
        """Every atom at the end of `path`, which starts with a child of this atom."""
        if not path:
            yield self
            return
        for child in self.children(path[0]):
            yield from child.find(*path[1:])

    def get(self, offset, form):
        return struct.unpack_from(">" + form, self.data, self.start + offset)

    def put(self, offset, form, *values):
        struct.pack_into(">" + form, self.data, self.start + offset, *values)


def atoms(data, start=0, end=None):
    """The run of sibling atoms between `start` and `end`."""
    end = len(data) if end is None else end
    while start + 8 <= end:
        atom = Atom(data, start)
        yield atom
        start = atom.end


def top_level(data, type_):
    """The first atom of `type_` at the top level."""
    return next(a for a in atoms(data) if a.type == type_)
