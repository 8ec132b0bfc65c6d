#!/usr/bin/env bash
# Runs a test program with the module for macOS in place of the one that was built here. Answers 75
# where there is none. Usage: run_through_macho.sh BUNDLE MODULE LEDGER COMMAND [ARGUMENT...]
set -euo pipefail
if [ ! -d "$1" ]; then
    echo "skipped: there is no bundle, as its compiler could not be fetched"
    exit 75
fi
export KVX_MACHO=$1 KVX_TEST_MODULE=$2 KVX_MACHO_LEDGER=$3
shift 3
exec "$@"
