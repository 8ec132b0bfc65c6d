#!/usr/bin/env python3
"""Writes a source file that stands for several files of tests, for the compiler to see their
headers and make their templates once.

usage: unity_source.py OUTPUT FILE...

Each file gets a namespace around it, so that files can use the same names for different things. The
headers come first: what a file includes has been included by then. A file that adds to a namespace of
others cannot be among them, nor one that defines names for the headers that it includes.
"""

import re
import sys
from pathlib import Path

INCLUDE = re.compile(r'^#include\s+(<[^>]+>|"[^"]+")', re.MULTILINE)
DEFINES = re.compile(r"^#(?:define|undef)", re.MULTILINE)
OWN_NAMESPACE = re.compile(r"^(?:inline )?namespace [\w:]+ \{", re.MULTILINE)


def unity_source(paths):
    headers = {}  # in the order in which they come
    parts = []
    for path in paths:
        text = Path(path).read_text()
        if OWN_NAMESPACE.search(text):
            sys.exit(f"{path}: a *_test.cpp must not add to a namespace; put that into a file of its own")
        if DEFINES.search(text):
            sys.exit(f"{path}: defines names since the tree was configured; configure it again")
        headers.update(dict.fromkeys(INCLUDE.findall(text)))
        name = re.sub(r"\W", "_", Path(path).stem)
        parts.append(f'namespace in_{name} {{\n#include "{path}"\n}}\n')
    return "".join(f"#include {header}\n" for header in headers) + "".join(parts)


def main():
    output, *paths = sys.argv[1:]
    Path(output).parent.mkdir(parents=True, exist_ok=True)
    Path(output).write_text(unity_source(paths))


main()
