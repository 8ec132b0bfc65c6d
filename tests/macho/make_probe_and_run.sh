#!/usr/bin/env bash
# Builds the bundle of the loader's tests in the tree of the importer's own, then runs them. Answers 75
# where there is no such tree. Usage: make_probe_and_run.sh TREE CMAKE COMMAND [ARGUMENT...]
set -euo pipefail
if [ ! -f "$1/build.ninja" ]; then
    echo "skipped: there is no bundle, as its compiler could not be fetched"
    exit 75
fi
"$2" --build "$1" --target kvx_macho_probe
shift 2
exec "$@"
