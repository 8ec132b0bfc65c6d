#!/usr/bin/env bash
# What plain stress makes of the planted faults: frames at random from many threads until one module
# after the other has failed or its time is up. Shows what it shows, so no test.
# Usage: stress_planted.sh FOLDER_OF_MODULES STRESS_PROGRAM SECONDS FAULT...
set -euo pipefail
modules=$1
stress=$2
seconds=$3
shift 3
log=$(mktemp)
trap 'rm -f "$log"' EXIT
for fault in "$@"; do
    name=$(basename "$fault" .fault)
    begin=$(date +%s.%N)
    status=0
    KVX_TEST_MODULE="$modules/kvx_planted_module_$name.so" timeout $((seconds + 70)) \
        "$stress" 2000000000 "$seconds" >"$log" 2>&1 || status=$?
    took=$(echo "$(date +%s.%N) $begin" | awk '{ printf "%.1f", $1 - $2 }')
    if [ "$status" -eq 0 ]; then
        printf '%-22s not found in %s s: %s\n' "$name" "$took" "$(tail -n 1 "$log")"
    else
        printf '%-22s found after %s s (status %s)\n' "$name" "$took" "$status"
    fi
done
