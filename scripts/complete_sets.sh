#!/usr/bin/env bash
# Builds the preset `release` and runs every complete set: the tests that `./test` leaves out because
# they take hours, and of which it runs parts and samples. Arguments go to the test programs, as in
#
#     scripts/complete_sets.sh --gtest_filter='*Geometry*DISABLED_*'
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/setup.sh

setup_packages build sample tests
setup_build release kvx_tests kvx_sweep_tests kvx_fault_tests

# One process on each processor, which share a program's tests.
failed=()
GTEST_TOTAL_SHARDS=$(getconf _NPROCESSORS_ONLN)
export GTEST_TOTAL_SHARDS
for program in kvx_tests convert/kvx_sweep_tests kvx_fault_tests; do
    setup_say "complete sets of $program"
    shares=()
    for ((share = 0; share < GTEST_TOTAL_SHARDS; ++share)); do
        GTEST_SHARD_INDEX=$share "build/release/tests/$program" --gtest_also_run_disabled_tests \
            --gtest_brief=1 --gtest_filter='*DISABLED_*' "$@" &
        shares+=($!)
    done
    for share in "${shares[@]}"; do
        wait "$share" || failed+=("$program")
    done
done
if [ ${#failed[@]} -gt 0 ]; then
    setup_fail "failed: ${failed[*]}"
fi
