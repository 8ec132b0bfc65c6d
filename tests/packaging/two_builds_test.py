#!/usr/bin/env python3
"""Makes the bundle a second time, from a copy of the sources in another folder.

Usage: two_builds_test.py REPOSITORY
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SKIPPED = 75
REPOSITORY = pathlib.Path(sys.argv[1])
ARCHIVE = pathlib.Path("build") / "macos" / "KVXImporter.zip"
NEEDED = ["CMakeLists.txt", "cmake", "package-macos", "packaging", "scripts", "src",
          "tests/macho/probe"]


class TwoBuilds(unittest.TestCase):
    def test_are_equal_to_the_bit(self):
        with tempfile.TemporaryDirectory(prefix="another place ") as folder:
            copy = pathlib.Path(folder) / "of the sources"
            copy.mkdir()
            for name in NEEDED:
                source = REPOSITORY / name
                (shutil.copytree if source.is_dir() else shutil.copy)(source, copy / name)
            environment = dict(os.environ, TZ="Pacific/Chatham", CCACHE_DISABLE="1")
            subprocess.run(["sh", "-c", "umask 077; exec ./package-macos"], cwd=copy, check=True,
                           env=environment, stdout=subprocess.DEVNULL)
            self.assertEqual((copy / ARCHIVE).read_bytes(), (REPOSITORY / ARCHIVE).read_bytes())


if __name__ == "__main__":
    if not (REPOSITORY / ARCHIVE).exists():
        print("skipped: there is no bundle, as its compiler could not be fetched")
        sys.exit(SKIPPED)
    unittest.main(argv=sys.argv[:1], verbosity=1)
