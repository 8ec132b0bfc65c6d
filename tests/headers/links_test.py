#!/usr/bin/env python3
"""Checks that the README leads to every page of docs/, and that links lead to pages and headings.

usage: links_test.py SOURCE_FOLDER
"""

import re
import sys
from pathlib import Path

LINK = re.compile(r"\]\(([^)#\s]*)(?:#([^)\s]*))?\)")
CODE = re.compile(r"^```.*?^```", re.MULTILINE | re.DOTALL)
HEADING = re.compile(r"^#+ +(.+?) *$", re.MULTILINE)


def links(page):
    """What is linked, where that is, and the heading in it."""
    for target, heading in LINK.findall(page.read_text(encoding="utf-8")):
        if ":" not in target:
            yield target, (page.parent / target).resolve() if target else page, heading


def anchors(page):
    """The names that the web gives the headings of a page."""
    headings = HEADING.findall(CODE.sub("", page.read_text(encoding="utf-8")))
    return {re.sub(r"[^\w\- ]", "", heading).lower().replace(" ", "-") for heading in headings}


def main():
    root = Path(sys.argv[1]).resolve()
    docs = sorted((root / "docs").glob("*.md"))
    folders = [root / name for name in ("packaging", "tests", "fuzz", "bench")]
    pages = sorted(root.glob("*.md")) + docs + [page for f in folders for page in f.rglob("*.md")]
    wrong = [f"{page}: {target} is not there"
             for page in pages for target, place, _ in links(page) if not place.exists()]
    wrong += [f"{page}: {target}#{heading} is not a heading"
              for page in pages for target, place, heading in links(page)
              if heading and place.suffix == ".md" and place.exists()
              and heading not in anchors(place)]
    linked = {place for _, place, _ in links(root / "README.md")}
    wrong += [f"README.md does not link docs/{page.name}" for page in docs if page not in linked]
    if wrong:
        sys.exit("\n".join(wrong))


if __name__ == "__main__":
    main()
