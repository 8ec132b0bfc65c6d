#!/usr/bin/env python3
"""What scripts/lint.sh looks at: each source once, however many programs it is compiled for.

Usage: lint_sources.py TREE

Writes, for the configured TREE:
  TREE/once/compile_commands.json  how each source is compiled
  TREE/once/written.txt            sources that the build writes, as targets
  TREE/once/sources.txt            all sources, those first that take the longest
  TREE/once/alone.sh               a line for each of our files that is compiled with others otherwise:
                                   compiles it alone, for what it should include and does not
"""

import json
import os
import re
import shlex
import sys

# The static analyzer follows paths through a file that is included only if the source that includes
# it is named like this.
ANALYZED_WHOLE = "UnifiedSource_"


def included_files(source):
    with open(source) as file:
        return re.findall(r'^#include "(/.*\.cpp)"$', file.read(), re.MULTILINE)


def renamed(command):
    """The command for a copy of its source, under the name that the analyzer asks for."""
    source = command["file"]
    copy = os.path.join(os.path.dirname(source), ANALYZED_WHOLE + os.path.basename(source))
    with open(source) as original, open(copy, "w") as file:
        file.write(original.read())
    return {**command, "file": copy, "command": command["command"].replace(source, copy)}


def alone(command, file):
    """The shell's command that compiles one of the files that `command` compiles together."""
    words = shlex.split(command["command"])
    del words[words.index("-o"):words.index("-o") + 2]
    words[words.index("-c"):] = ["-fsyntax-only", file]
    return "cd %s && %s" % (shlex.quote(command["directory"]), shlex.join(words))


def main():
    tree = os.path.abspath(sys.argv[1])
    root = os.path.dirname(os.path.dirname(tree))
    with open(os.path.join(tree, "compile_commands.json")) as file:
        commands = {command["file"]: command for command in json.load(file)}

    written = [name for name in commands if "_unity/" in name]  # of several test files each
    united = [renamed(commands[name]) for name in commands if "/Unity/" in name]
    in_united = {file: command for command in united for file in included_files(command["file"])}
    single = [name for name in commands
              if name.startswith(root + "/") and not name.startswith(root + "/build/")
              and name not in in_united]

    once = [commands[name] for name in written] + united + [commands[name] for name in single]
    folder = os.path.join(tree, "once")
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, "compile_commands.json"), "w") as file:
        json.dump(once, file, indent=1)
    for name, lines in (
        ("written.txt", [os.path.relpath(source, tree) for source in written]),
        ("sources.txt", [command["file"] for command in once]),
        ("alone.sh", [alone(command, file) for file, command in sorted(in_united.items())]),
    ):
        with open(os.path.join(folder, name), "w") as file:
            file.writelines(line + "\n" for line in lines)


main()
