#!/usr/bin/env bash
# Builds the preset `coverage`, runs the tests, and tells what of src/ they ran: lines and branches of
# each file, and the lines that none reached. Arguments go to ctest, as in
#
#     scripts/coverage.sh --label-exclude macos
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/setup.sh

setup_packages build sample quick tests
command -v gcovr >/dev/null || setup_apt gcovr

setup_build coverage
find build/coverage -name '*.gcda' -delete
ctest --preset coverage --parallel "$(getconf _NPROCESSORS_ONLN)" --output-log build/coverage/ctest.log \
    "$@" >/dev/null || setup_say "some tests failed: build/coverage/ctest.log"

setup_say "counting"
# Branches that only an exception would take, which a compiler adds to every call, are left out.
gcovr --root . --filter src/ --object-directory build/coverage \
    --exclude-throw-branches --exclude-unreachable-branches \
    --txt build/coverage/lines.txt --json-summary build/coverage/summary.json \
    --print-summary build/coverage
gcovr --root . --filter src/ --object-directory build/coverage --branches \
    --exclude-throw-branches --exclude-unreachable-branches \
    --txt build/coverage/branches.txt build/coverage
# Of each file: lines, lines run, and the numbers of the others.
grep -v '100%' build/coverage/lines.txt || true
