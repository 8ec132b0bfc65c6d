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

# Several files at a time, which takes a quarter of the time: as the build does it for the sources, and
# for tests in sources that are written for it.
setup_configure lint
scripts/lint_sources.py build/lint
mapfile -t written <build/lint/once/written.txt
setup_quietly build/log/lint.txt cmake --build build/lint --target "${written[@]}"
# Those are looked at as the tests are that they include, the others without what asks why a source
# is included.
cp tests/.clang-tidy build/lint/tests/
printf '%s\n' 'InheritParentConfig: true' 'Checks: -bugprone-suspicious-include' >build/lint/.clang-tidy
# A call of the command for each line.
in_parallel() {
    tr '\n' '\0' | xargs -0 -P "$(getconf _NPROCESSORS_ONLN)" -n 1 "$@"
}
setup_say "clang-tidy over $(wc -l <build/lint/once/sources.txt) sources"
in_parallel clang-tidy --quiet -p build/lint/once \
    <build/lint/once/sources.txt 2>build/log/clang-tidy.txt || failed+=(clang-tidy)

# A script compiles this one, on the machine that makes the movies.
clang-tidy --quiet tests/end_to_end/media/fork_server.cpp -- -std=c++17 \
    2>>build/log/clang-tidy.txt || failed+=(clang-tidy)

setup_say "each of $(wc -l <build/lint/once/alone.sh) files alone"
in_parallel sh -c <build/lint/once/alone.sh || failed+=(includes)

if [ ${#failed[@]} -gt 0 ]; then
    setup_fail "there are findings by ${failed[*]}"
fi
setup_say "nothing found"
