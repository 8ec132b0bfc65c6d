#!/usr/bin/env python3
"""Makes the real movies of the end-to-end tests, and asks ffprobe and ffmpeg what they hold.

usage: make_media.py FOLDER

Beside each MOVIE lie MOVIE.json (ffprobe's streams and packets) and, for each sound stream, MOVIE.N.f64
(ffmpeg's own decode, native doubles, interleaved). A recipe is followed again only when its text,
the edits or the tools have changed.
"""

import fcntl
import hashlib
import json
import os
import platform
import shutil
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor, as_completed
from pathlib import Path

import edits
import recipes
from programs import Programs

HERE = Path(__file__).resolve().parent


def measure(movies, programs):
    """Writes what ffprobe and ffmpeg say of `movies` beside them."""
    inputs, outputs = [], []
    for number, movie in enumerate(movies):
        told = Path(f"{movie}.json")
        programs.run(["ffprobe", "-v", "error", "-show_streams", "-show_packets", "-of", "json",
                      "-o", told, movie], HERE)
        streams = json.loads(told.read_bytes())["streams"]
        sounds = [s for s in streams if s["codec_type"] == "audio"]
        inputs += ["-i", str(movie)]
        for sound in range(len(sounds)):
            outputs += ["-map", f"{number}:a:{sound}", "-c:a", f"pcm_f64{sys.byteorder[0]}e",
                        "-f", f"f64{sys.byteorder[0]}e", f"{movie}.{sound}.f64"]
    if outputs:
        programs.run(["ffmpeg", "-v", "error", "-nostdin", "-y", *inputs, *outputs], HERE)


def follow(recipe, folder, programs):
    with tempfile.TemporaryDirectory(dir=folder) as scratch:
        for command in recipe.commands:
            programs.run(command, scratch)
        for name, (edit, source, *arguments) in recipe.movies.items():
            movie = folder / name
            movie.parent.mkdir(parents=True, exist_ok=True)
            getattr(edits, f"edit_{edit}")(Path(scratch, source or "none"), movie, *arguments)
    if recipe.measured:
        measure([folder / name for name in recipe.movies], programs)


def tool_versions():
    """Stands for the versions of the encoders: where each lies, its size and its date."""
    for tool in ("ffmpeg", "ffprobe", "gst-launch-1.0", "lqt_transcode"):
        path = shutil.which(tool)
        if path:
            path = os.path.realpath(path)
            status = os.stat(path)
            yield f"{path} {status.st_size} {status.st_mtime_ns}"


def is_possible(recipe):
    """Homebrew has no libquicktime; everywhere else a missing tool is a failure."""
    return platform.system() != "Darwin" or all(shutil.which(c[0]) for c in recipe.commands)


def make_all(folder):
    common = "\n".join(tool_versions())
    for script in ("atoms.py", "retag.py", "edits.py", "make_media.py"):
        common += (HERE / script).read_text()
    stale = []
    for recipe in recipes.all_recipes():
        key = hashlib.sha256((common + repr(recipe)).encode()).hexdigest()
        stamp = folder / "made" / hashlib.sha256(recipe.name.encode()).hexdigest()
        if is_possible(recipe) and not (stamp.exists() and stamp.read_text() == key):
            stale.append((recipe, stamp, key))
    if not stale:
        return
    print(f"making movies by {len(stale)} recipes", flush=True)
    with Programs() as programs, ThreadPoolExecutor(os.cpu_count()) as pool:
        jobs = {pool.submit(follow, recipe, folder, programs): (stamp, key)
                for recipe, stamp, key in stale}
        for job in as_completed(jobs):
            job.result()
            stamp, key = jobs[job]
            stamp.write_text(key)


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: make_media.py FOLDER")
    folder = Path(sys.argv[1]).resolve()
    (folder / "made").mkdir(parents=True, exist_ok=True)
    with open(folder / "lock", "w", encoding="ascii") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)  # several test programs may ask at once
        make_all(folder)


if __name__ == "__main__":
    main()
