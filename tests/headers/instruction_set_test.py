#!/usr/bin/env python3
"""Checks that one header of the importer knows an instruction set, and no other file.

usage: instruction_set_test.py SOURCE_FOLDER
"""

import re
import sys
import tempfile
from pathlib import Path

KNOWS = "convert/vector128.h"

SIGNS = re.compile(
    r"#\s*include\s*[<\"](?:\w*mmintrin|\w*intrin|arm_\w+)\.h"  # intrinsics of either processor
    r"|\b_mm\d*_\w+|\b__m128\w*|\b_MM_\w+"
    r"|\bv[a-z0-9]+q?_(?:n_|lane_|high_|low_)*[suf](?:8|16|32|64)\b|\bu?int\d+x\d+_t\b"
    r"|\b__(?:SSE|SSSE|AVX|ARM_NEON|aarch64|arm64|x86_64|amd64|i386)\w*"
    r"|\b(?:asm|__asm__|__asm)\b"
    r"|\b__builtin_(?:ia32|aarch64|neon)_\w+")


def signs_outside(folder):
    for path in sorted(folder.rglob("*")):
        if path.suffix not in (".h", ".cpp") or path.relative_to(folder).as_posix() == KNOWS:
            continue
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            found = SIGNS.search(line.split("//")[0])
            if found:
                yield f"{path}:{number}: {found.group()}"


# What has to be found, each in a file that may not have it.
PLANTED = (
    "#include <tmmintrin.h>",
    "#include <immintrin.h>",
    "#include <x86intrin.h>",
    "#include <arm_neon.h>",
    "    return _mm_add_epi16(a, b);",
    "    __m128i v;",
    "    return vaddq_s16(a, b);",
    "    return vqmovn_high_s32(a, b);",
    "    uint8x16_t v;",
    "#if defined(__SSSE3__)",
    "#ifdef __aarch64__",
    '    asm volatile("sfence");',
)


def missed_plants():
    for plant in PLANTED:
        with tempfile.TemporaryDirectory() as name:
            folder = Path(name)
            (folder / "convert").mkdir()
            (folder / KNOWS).write_text(plant + "\n", encoding="utf-8")
            other = folder / "convert" / "kernel.cpp"
            other.write_text("int a;\n// as __m128i was\n", encoding="utf-8")
            if list(signs_outside(folder)):
                yield f"found without being there: {plant}"
            other.write_text(f"int a;\n{plant}\n", encoding="utf-8")
            if len(list(signs_outside(folder))) != 1:
                yield f"not found where it was planted: {plant}"


def main():
    source = Path(sys.argv[1]) / "src"
    wrong = list(missed_plants()) + list(signs_outside(source))
    if not (source / KNOWS).is_file():
        wrong.append(f"there is no {source / KNOWS}")
    if wrong:
        sys.exit("\n".join(wrong))


if __name__ == "__main__":
    main()
