#!/usr/bin/env bash
# Runs each planted fault's scenario until it is found. Usage: run_planted.sh FOLDER_OF_PROGRAMS FAULT...
set -euo pipefail
programs=$1
shift
missed=0
for fault in "$@"; do
    name=$(basename "$fault" .fault)
    scenario=$(sed -n 's/^scenario: //p' "$fault")
    if found=$("$programs/kvx_planted_$name" --preemptions 3 --seconds 120 "$scenario"); then
        printf '%-22s NOT FOUND by %s\n' "$name" "$scenario"
        missed=$((missed + 1))
    else
        # The numbers of all bounds up to the one that found it.
        runs=$(awk '$0 ~ / runs, / { for (i = 2; i <= NF; ++i) if ($i == "runs,") sum += $(i - 1) } END { print sum }' <<<"$found")
        bound=$(grep ' runs, ' <<<"$found" | tail -n 1 | awk '{ print $2 }')
        what=$(sed -n 's/^  //p' <<<"$found" | grep -v '^--replay' | head -n 1)
        printf '%-22s %8d runs of %-12s %s preemptions: %s\n' "$name" "$runs" "$scenario" "$bound" "$what"
    fi
done
[ "$missed" -eq 0 ]
