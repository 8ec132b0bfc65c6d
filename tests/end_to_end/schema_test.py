#!/usr/bin/env python3
"""Holds what `kvx info` and `kvx check` print as JSON against the schema, for every movie there is.

usage: schema_test.py KVX SCHEMA MAKER FOLDER

MAKER FOLDER writes movies made for one finding each into a folder of its own.
"""

import json
import subprocess
import sys
import tempfile
from pathlib import Path

try:
    import jsonschema
except ImportError:
    print("there is no jsonschema for Python")
    sys.exit(77)


def run(kvx, command, form, movies):
    return subprocess.run([kvx, command, form, *movies], stdout=subprocess.PIPE, check=False).stdout


def check_consistency(movie):
    """What a schema cannot say."""
    severities = {finding["severity"] for finding in movie["findings"]}
    assert (movie["status"] == "imports") == ("refused" not in severities), movie
    assert movie["disagreement"] is None, movie
    assert movie["importer"]["imports"] == (movie["status"] == "imports"), movie
    tracks = movie["video"] + movie["sound"] + movie["other_tracks"]
    tracks += [movie["timecode"]] if movie["timecode"] else []
    of_tracks = [finding for track in tracks for finding in track["findings"]]
    assert all(f["track"] == t["track"] for t in tracks for f in t["findings"]), movie
    for finding in movie["findings"]:
        assert finding["track"] is None or finding in of_tracks, movie


def main():
    kvx, schema_path, maker, folder = sys.argv[1:]
    schema = json.loads(Path(schema_path).read_text(encoding="utf-8"))
    jsonschema.Draft7Validator.check_schema(schema)
    validator = jsonschema.Draft7Validator(schema)
    with tempfile.TemporaryDirectory() as made:
        told = subprocess.run([maker, made], stdout=subprocess.PIPE, check=True).stdout.decode()
        expected = {line.split()[0]: line.split()[1:] for line in told.splitlines()}
        movies = sorted(str(path) for place in (folder, made) for path in Path(place).rglob("*")
                        if path.suffix in (".mov", ".mp4"))
        assert len(movies) > 400, len(movies)
        movies.append(made + "/missing.mov")
        # A name that is not UTF-8.
        odd = str(made).encode() + b"/\xff.mov"
        Path(odd.decode(errors="surrogateescape")).write_bytes(b"")
        movies.append(odd.decode(errors="surrogateescape"))
        for command in ("info", "check"):
            whole = json.loads(run(kvx, command, "--json", movies))
            lines = run(kvx, command, "--json-lines", movies).splitlines()
            assert [json.loads(line) for line in lines] == whole
            assert len(whole) == len(movies)
            errors = list(validator.iter_errors(whole))
            for error in errors[:10]:
                print(error.message, list(error.absolute_path))
            assert not errors
            for movie in whole:
                check_consistency(movie)
                name = Path(movie["path"]).name
                # The other file of those that refer to one is not there any more.
                if movie["path"].startswith(made) and not name.startswith("reference"):
                    codes = [finding["code"] for finding in movie["findings"]]
                    assert codes == expected.get(name, codes), (name, codes)
            met = {finding["code"] for movie in whole for finding in movie["findings"]}
            known = set(schema["definitions"]["code"]["enum"]) - {"external-media"}
            assert met == known, met ^ known
    print(f"{len(movies)} movies")


if __name__ == "__main__":
    main()
