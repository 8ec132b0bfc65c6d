#!/usr/bin/env python3
"""module_texts_test.py MODULE SOURCES: is every text of the log in the module?

The linker leaves out of the module what nothing calls. A text of the log is a literal in SOURCES that
ends a line; all are to be found in MODULE, but for those that nothing in the importer calls and those of
assertions, which are off where sections are dropped.
"""
import ast
import pathlib
import re
import sys

UNCALLED = {"printers", "pixel_family", "assert.cpp"}
LITERAL = re.compile(r'"(?:[^"\\\n]|\\.)*"(?:\s*"(?:[^"\\\n]|\\.)*")*')
PIECE = re.compile(r'"(?:[^"\\\n]|\\.)*"')


def texts_of(source):
    code = re.sub(r"^\s*//.*$", "", source.read_text(), flags=re.MULTILINE)
    for literal in LITERAL.findall(code):
        text = "".join(ast.literal_eval(piece) for piece in PIECE.findall(literal))
        if text.endswith("\n"):
            yield text


def main():
    module = pathlib.Path(sys.argv[1]).read_bytes()
    folder = pathlib.Path(sys.argv[2])
    checked = 0
    missing = []
    for source in sorted(folder.rglob("*.cpp")):
        if UNCALLED & set(source.relative_to(folder).parts):
            continue
        for text in texts_of(source):
            checked += 1
            if text.encode() not in module:
                missing.append(f"{source.relative_to(folder)}: {text!r}")
    print(f"{checked} texts of the log, {len(missing)} missing")
    print("\n".join(missing))
    # As many as there are functions that can fail.
    return 1 if missing or checked < 100 else 0


if __name__ == "__main__":
    sys.exit(main())
