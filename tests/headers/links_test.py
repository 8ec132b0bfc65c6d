#!/usr/bin/env python3
"""Checks that the README leads to every page of docs/, and that links between pages lead somewhere.

usage: links_test.py SOURCE_FOLDER
"""

import re
import sys
from pathlib import Path

LINK = re.compile(r"\]\(([^)#\s]+)(?:#[^)]*)?\)")


def links(page):
    for target in LINK.findall(page.read_text(encoding="utf-8")):
        if ":" not in target:
            yield target, (page.parent / target).resolve()


def main():
    root = Path(sys.argv[1]).resolve()
    docs = sorted((root / "docs").glob("*.md"))
    folders = [root / name for name in ("packaging", "tests", "fuzz", "bench")]
    pages = sorted(root.glob("*.md")) + docs + [page for f in folders for page in f.rglob("*.md")]
    wrong = [f"{page}: {target} is not there"
             for page in pages for target, place in links(page) if not place.exists()]
    linked = {place for _, place in links(root / "README.md")}
    wrong += [f"README.md does not link docs/{page.name}" for page in docs if page not in linked]
    if wrong:
        sys.exit("\n".join(wrong))


if __name__ == "__main__":
    main()
