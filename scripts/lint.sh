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

# As it is compiled: tests several at a time, in sources that are written for it.
setup_configure lint
mapfile -t sources < <(sed -n 's/^  "file": "\(.*\)",\{0,1\}$/\1/p' build/lint/compile_commands.json |
    grep -e _unity/ -e '^'"$PWD"'/[^b]' -e '^'"$PWD"'/bench/' | sort -u)
mapfile -t united < <(printf '%s\n' "${sources[@]}" | grep '_unity/' | sed "s#^$PWD/build/lint/##")
setup_quietly build/log/lint.txt cmake --build build/lint --target "${united[@]}"
setup_say "clang-tidy over ${#sources[@]} sources"
printf '%s\0' "${sources[@]}" | xargs -0 -P "$(getconf _NPROCESSORS_ONLN)" -n 1 \
    clang-tidy --quiet -p build/lint 2>build/log/clang-tidy.txt || failed+=(clang-tidy)

if [ ${#failed[@]} -gt 0 ]; then
    setup_fail "there are findings by ${failed[*]}"
fi
setup_say "nothing found"
