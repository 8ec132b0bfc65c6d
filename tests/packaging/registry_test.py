#!/usr/bin/env python3
"""Asks ./package-macos for a bundle where its compiler cannot be had.

Only a registry that gives no answer may count as nothing wrong (exit status 75). In every case an
older bundle has to be gone, so that nothing reads it in place of the one that was not made.
Usage: registry_test.py REPOSITORY
"""

import http.server
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import unittest

SKIPPED = 75
REPOSITORY = pathlib.Path(sys.argv[1])


class NothingHere(http.server.BaseHTTPRequestHandler):
    """A registry that answers, and does not have the package."""

    def do_GET(self):
        self.send_error(404)

    def log_message(self, *_):
        pass


def unused_port():
    with socket.socket() as taken:
        taken.bind(("127.0.0.1", 0))
        return taken.getsockname()[1]


class Registry(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)
        shutil.copy(REPOSITORY / "package-macos", self.folder)
        shutil.copytree(REPOSITORY / "scripts", self.folder / "scripts")
        self.older = self.folder / "build" / "macos" / "KVXImporter.bundle"
        self.older.mkdir(parents=True)

    def package(self, registry, path=os.environ["PATH"]):
        environment = dict(os.environ, PATH=path, XDG_CACHE_HOME=str(self.folder / "cache"),
                           npm_config_registry=registry, npm_config_fetch_retry_mintimeout="100",
                           npm_config_cache=str(self.folder / "npm"))
        for proxy in ("http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY"):
            environment.pop(proxy, None)
        done = subprocess.run([self.folder / "package-macos"], env=environment, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.assertFalse(self.older.exists())
        return done.returncode, done.stdout

    def test_that_is_not_there(self):
        status, output = self.package(f"http://127.0.0.1:{unused_port()}/")
        self.assertEqual(status, SKIPPED, output)
        self.assertIn("package-macos: the package registry that has the compiler cannot be reached\n",
                      output)

    def test_that_has_no_name(self):
        status, output = self.package("http://registry.invalid/")
        self.assertEqual(status, SKIPPED, output)

    def test_that_answers_without_the_compiler(self):
        with http.server.ThreadingHTTPServer(("127.0.0.1", 0), NothingHere) as server:
            threading.Thread(target=server.serve_forever, daemon=True).start()
            status, output = self.package(f"http://127.0.0.1:{server.server_port}/")
            server.shutdown()
        self.assertEqual(status, 1, output)
        self.assertIn("package-macos: the compiler could not be installed\n", output)

    def test_whose_client_is_broken(self):
        tools = self.folder / "tools"
        tools.mkdir()
        for status, message in ((1, "could not be installed"), (0, "has none")):
            npm = tools / "npm"
            npm.write_text(f"#!/bin/sh\necho 'npm error code EACCES'\nexit {status}\n")
            npm.chmod(0o755)
            self.older.mkdir(parents=True, exist_ok=True)
            result, output = self.package("http://127.0.0.1/", f"{tools}:{os.environ['PATH']}")
            self.assertEqual(result, 1, output)
            self.assertIn(message, output)


if __name__ == "__main__":
    if not shutil.which("npm"):
        print("skipped: there is no npm to ask a registry with")
        sys.exit(SKIPPED)
    unittest.main(argv=sys.argv[:1], verbosity=1)
