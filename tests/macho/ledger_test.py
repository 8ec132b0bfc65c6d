#!/usr/bin/env python3
"""Looks at what the runs of the module for macOS have called.

Every import of the bundle must have a shim, and every shim must have been called, but for those on a
list, each with its reason. Usage: ledger_test.py BUNDLE PROCESSOR LEDGER UNCALLED
"""

import pathlib
import shutil
import subprocess
import sys
import unittest

SKIPPED = 75
PROCESSOR = sys.argv.pop(2)
BUNDLE, LEDGER, UNCALLED = map(pathlib.Path, sys.argv[1:])


def imports():
    for tool in ("llvm-nm", "llvm-nm-16", "llvm-nm-14"):
        if shutil.which(tool):
            executable = BUNDLE / "Contents" / "MacOS" / "KVXImporter"
            told = subprocess.run([tool, f"--arch={PROCESSOR}", "-u", "-j", executable],
                                  check=True, text=True, stdout=subprocess.PIPE).stdout
            return set(told.split())
    raise FileNotFoundError("llvm-nm")


def reviewed():
    lines = UNCALLED.read_text().splitlines()
    return dict(line.split(maxsplit=1) for line in lines if line and not line.startswith("#"))


class Ledger(unittest.TestCase):
    def setUp(self):
        lines = [line.split() for line in LEDGER.read_text().splitlines()]
        self.shims = {name for _, name in lines}
        self.called = {name for mark, name in lines if mark == "+"}

    def test_every_import_has_a_shim(self):
        self.assertEqual(imports() - self.shims, set())

    def test_every_shim_is_an_import(self):
        self.assertEqual(self.shims - imports(), set())

    def test_every_shim_was_called(self):
        self.assertEqual(self.shims - self.called - set(reviewed()), set())

    def test_list_of_uncalled_names_shims_with_reasons(self):
        self.assertEqual(set(reviewed()) - self.shims, set())


if __name__ == "__main__":
    if not LEDGER.exists():
        print("skipped: there is no ledger, as nothing ran")
        sys.exit(SKIPPED)
    unittest.main(argv=sys.argv[:1], verbosity=1)
