#!/usr/bin/env python3
"""Whether the documents name the codes of the findings: all, no others, each as grave as it is.

usage: codes_in_words_test.py ROOT
"""

import json
import re
import sys
from pathlib import Path

SECTIONS = {"Refused": "Refused", "Warnings": "Warning", "Notes": "Note"}


def codes_of_source(root):
    """[(name, severity)], in the order in which a report tells them."""
    source = (root / "inspect" / "findings.cpp").read_text()
    return re.findall(r'\{Code::\w+,\s+"([a-z-]+)",\s+Severity::(\w+),', source)


def codes_of_document(root):
    document = (root / "docs" / "kvx_check.md").read_text()
    codes = []
    for section in document.split("\n## ")[1:]:
        severity = SECTIONS.get(section.partition("\n")[0])
        for row in re.findall(r"^\| (`.*?) \|", section, re.MULTILINE):
            codes += [(code, severity) for code in re.findall(r"`([a-z-]+)`", row)]
    return codes


def main():
    root = Path(sys.argv[1])
    codes = codes_of_source(root)
    assert len(codes) > 30, codes
    assert codes_of_document(root) == codes, (codes_of_document(root), codes)
    schema = json.loads((root / "docs" / "kvx_json.schema.json").read_text())
    assert schema["definitions"]["code"]["enum"] == [name for name, _ in codes]


if __name__ == "__main__":
    main()
