#!/usr/bin/env bash
# Runs the converters' tests on an emulated processor that has SSSE3 and nothing above it.
#     ssse3_test.sh PROBE PROGRAM [ARGUMENT...]
# PROBE is a program that needs SSE4.1: it has to die there, or the emulation proves nothing. Ends
# with 75, which counts as skipped, where there is no emulator.
set -uo pipefail

probe=$1
shift
emulator=(qemu-x86_64 -cpu Conroe)

if ! command -v "${emulator[0]}" >/dev/null; then
    echo "SKIPPED: there is no ${emulator[0]} here (Debian package qemu-user)"
    exit 75
fi
if ! "$probe"; then
    echo "SKIPPED: this processor has no SSE4.1 itself"
    exit 75
fi
"${emulator[@]}" "$probe" 2>/dev/null
status=$?
if [ $status -ne $((128 + 4)) ]; then # SIGILL
    echo "the emulated processor ran an SSE4.1 instruction: $probe ended with $status"
    exit 1
fi
exec "${emulator[@]}" "$@"
