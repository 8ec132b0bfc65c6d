"""Runs the programs that make movies and tell what they hold.

ffmpeg and ffprobe take a tenth of a second to be linked with their two hundred libraries, which is
mostly longer than their work: where it can be done, they are linked once and forked for every run.
"""

import os
import platform
import shutil
import subprocess
import tempfile
from pathlib import Path

FORKED = ("ffmpeg", "ffprobe")
SOURCE = Path(__file__).resolve().with_name("fork_server.cpp")


class Programs:
    """A context, at the end of which no program is left running. Threads may share it."""

    def __enter__(self):
        self._scratch = tempfile.TemporaryDirectory()
        self._library = Path(self._scratch.name, "fork_server.so")
        self._idle = {}  # name -> servers that wait
        if platform.system() == "Linux" and shutil.which("c++"):
            _run_once(["c++", "-std=c++17", "-shared", "-fPIC", SOURCE, "-o", self._library], "/")
            for name in FORKED:
                server = _started_server(name, self._library)
                if server:
                    self._idle[name] = [server]
        return self

    def __exit__(self, *_):
        for servers in self._idle.values():
            for server in servers:
                server.close()
        self._scratch.cleanup()

    def run(self, command, folder):
        """Runs `command` in `folder`; a RuntimeError has what it said if it fails."""
        idle = self._idle.get(command[0])
        if idle is None:
            _run_once(command, folder)
            return
        try:
            server = idle.pop()
        except IndexError:
            server = _ForkServer(command[0], self._library)
        try:
            server.run(command, folder)
        finally:
            idle.append(server)


class _ForkServer:
    """A linked program that waits for calls, as fork_server.cpp says, and runs one at a time."""

    def __init__(self, name, library):
        self._said = tempfile.NamedTemporaryFile()
        preloaded = f"{library}:{os.environ.get('LD_PRELOAD', '')}"
        self._process = subprocess.Popen([name], env={**os.environ, "LD_PRELOAD": preloaded},
                                         stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         stderr=self._said)

    def run(self, command, folder):
        """Returns what the program said."""
        words = [folder, self._said.name, *command]
        self._process.stdin.write(b"".join(os.fsencode(word) + b"\0" for word in words) + b"\0")
        self._process.stdin.flush()
        answer = self._process.stdout.readline()
        said = Path(self._said.name).read_text(errors="replace")
        if answer != b"0\n":
            _fail(command, said)
        return said

    def close(self):
        self._process.communicate()
        self._said.close()


def _started_server(name, library):
    """None for a script or a static program, which the library does not get hold of."""
    server = None
    try:
        server = _ForkServer(name, library)
        if server.run([name, "-version"], "/").startswith(f"{name} version"):
            return server
    except (OSError, RuntimeError):
        pass
    if server:
        server.close()
    return None


def _run_once(command, folder):
    result = subprocess.run(command, cwd=folder, text=True, stdin=subprocess.DEVNULL,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    if result.returncode:
        _fail(command, result.stdout)


def _fail(command, said):
    raise RuntimeError(f"{' '.join(map(str, command))}\n{said}")
