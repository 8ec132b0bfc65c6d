#!/usr/bin/env bash
# Layout, clang-tidy and shellcheck over all that is ours. Goes on after a finding, so that one run
# shows all. Usage: scripts/lint.sh
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/setup.sh

setup_packages build quick lint

failed=()

# Every file that git knows, and new ones that it has not been told to leave out.
mapfile -t files < <(git ls-files --cached --others --exclude-standard | while read -r file; do
    [ ! -f "$file" ] || echo "$file"
done)
mapfile -t code < <(printf '%s\n' "${files[@]}" | grep -E '\.(cpp|h)$')
mapfile -t shell < <(grep -lE '^#!.*\b(ba)?sh$' "${files[@]}")

setup_say "layout of ${#code[@]} files"
clang-format --dry-run -Werror "${code[@]}" || failed+=(clang-format)

setup_say "shellcheck over ${#shell[@]} files"
shellcheck --external-sources "${shell[@]}" || failed+=(shellcheck)

# As it is compiled, and once, however many programs it is compiled for: tests several at a time, in
# sources that are written for it, which take the longest and come first.
setup_configure lint
mkdir -p build/lint/once
python3 - build/lint >build/lint/once/sources.txt <<'END'
import json, os, sys
tree = os.path.abspath(sys.argv[1])
root = os.path.dirname(os.path.dirname(tree))
with open(os.path.join(tree, "compile_commands.json")) as file:
    commands = {command["file"]: command for command in json.load(file)}
united = [name for name in commands if "_unity/" in name]
others = [name for name in commands if name not in united
          and name.startswith(root + "/") and not name.startswith(root + "/build/")]
with open(os.path.join(tree, "once", "compile_commands.json"), "w") as file:
    json.dump([commands[name] for name in united + others], file, indent=1)
print("\n".join(united + others))
END
mapfile -t sources <build/lint/once/sources.txt
mapfile -t united < <(grep '_unity/' build/lint/once/sources.txt | sed "s#^$PWD/build/lint/##")
setup_quietly build/log/lint.txt cmake --build build/lint --target "${united[@]}"
# Those are looked at as the tests are that they include.
cp tests/.clang-tidy build/lint/tests/
setup_say "clang-tidy over ${#sources[@]} sources"
printf '%s\0' "${sources[@]}" | xargs -0 -P "$(getconf _NPROCESSORS_ONLN)" -n 1 \
    clang-tidy --quiet -p build/lint/once 2>build/log/clang-tidy.txt || failed+=(clang-tidy)

if [ ${#failed[@]} -gt 0 ]; then
    setup_fail "there are findings by ${failed[*]}"
fi
setup_say "nothing found"
