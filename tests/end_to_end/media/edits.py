"""What is done to a movie after an encoder wrote it. Each edit takes the bytes of a whole movie."""

import struct

from atoms import CONTAINERS, atoms, top_level
from retag import retag


def edit_keep(source, target):
    _write(target, _read(source))


def edit_write(_, target, text):
    """Not an edit at all: `text` as a file of its own."""
    _write(target, text.encode())


def edit_retag(source, target):
    data = _read(source)
    retag(data)
    _write(target, data)


def edit_layout(source, target, tag):
    """Gives every "chan" atom the channel layout `tag`, and retags."""
    data = _read(source)
    retag(data)
    found = 0
    for stsd in top_level(data, b"moov").find(b"trak", b"mdia", b"minf", b"stbl", b"stsd"):
        start = data.find(b"chan", stsd.start, stsd.end)
        if start >= 0:
            struct.pack_into(">I", data, start + 8, tag)
            found += 1
    if not found:
        raise ValueError(f"{source} has no channel layout")
    _write(target, data)


def edit_trim(source, target, skip, keep):
    """Retags, and lets every track's edit list skip and keep so many milliseconds."""
    data = _read(source)
    retag(data)
    moov = top_level(data, b"moov")
    (movie_scale,) = next(moov.find(b"mvhd")).get(20, "I")
    for track in moov.find(b"trak"):
        (media_scale,) = next(track.find(b"mdia", b"mdhd")).get(20, "I")
        edit_list = next(track.find(b"edts", b"elst"))
        edit_list.put(16, "II", keep * movie_scale // 1000, skip * media_scale // 1000)
    _write(target, data)


def edit_cut(source, target, length):
    """Keeps the first `length` bytes."""
    _write(target, _read(source)[:length])


def edit_shorten(source, target, length):
    """Retags, and cuts the last `length` bytes off."""
    data = _read(source)
    retag(data)
    _write(target, data[:-length])


def edit_stretch(source, target, gap, moov_first):
    """Opens a hole of `gap` bytes in the middle of the media, as a sparse file.

    The media data atom gets an extended size, the chunk tables become 64-bit, and each chunk of the
    second half lies beyond the hole.
    """
    data = _read(source)
    retag(data)
    mdat = top_level(data, b"mdat")
    moov = top_level(data, b"moov")
    middle = sorted(_chunk_offsets(moov))
    middle = middle[len(middle) // 2]

    head = bytes(data[:next(atoms(data)).end])  # ftyp
    moved = _with_64_bit_offsets(moov, lambda offset: offset)
    mdat_start = len(head) + (len(moved) if moov_first else 0)
    shift = mdat_start + 16 - mdat.body
    moved = _with_64_bit_offsets(
        moov, lambda offset: offset + shift + (gap if offset >= middle else 0))

    with open(target, "wb") as file:
        file.write(head)
        if moov_first:
            file.write(moved)
        file.write(struct.pack(">I4sQ", 1, b"mdat", 16 + mdat.end - mdat.body + gap))
        file.write(data[mdat.body:middle])
        file.seek(gap, 1)
        file.write(data[middle:mdat.end])
        if not moov_first:
            file.write(moved)


def edit_align(source, target):
    """Puts the media on a page boundary, so that frames of whole pages lie on such boundaries."""
    page = 4096
    data = _read(source)
    retag(data)
    mdat = top_level(data, b"mdat")
    moov = top_level(data, b"moov")
    head = bytes(data[:next(atoms(data)).end])  # ftyp
    first = min(_chunk_offsets(moov))
    place = len(head) + 8 + mdat.header + first - mdat.body
    padding = -place % page
    shift = place + padding - first
    moved = _with_64_bit_offsets(moov, lambda offset: offset + shift)
    _write(target, head + struct.pack(">I4s", 8 + padding, b"free") + bytes(padding) +
           bytes(data[mdat.start:mdat.end]) + moved)


def _chunk_offsets(moov):
    for stco in moov.find(b"trak", b"mdia", b"minf", b"stbl", b"stco"):
        (count,) = stco.get(12, "I")
        yield from stco.get(16, f"{count}I")


def _with_64_bit_offsets(atom, place):
    """The bytes of `atom` with each "stco" inside turned into a "co64" of place(offset)."""
    if atom.type == b"stco":
        (count,) = atom.get(12, "I")
        offsets = [place(offset) for offset in atom.get(16, f"{count}I")]
        return struct.pack(f">I4sII{count}Q", 16 + 8 * count, b"co64", 0, count, *offsets)
    if atom.type not in CONTAINERS:
        return bytes(atom.data[atom.start:atom.end])
    body = b"".join(_with_64_bit_offsets(child, place) for child in atom.children())
    return struct.pack(">I4s", 8 + len(body), atom.type) + body


def _read(path):
    with open(path, "rb") as file:
        return bytearray(file.read())


def _write(path, data):
    with open(path, "wb") as file:
        file.write(data)
