#!/usr/bin/env bash
# Builds the converters and their models with one compiler at one level of optimisation, and compares
# what they make with the known hashes.
#     compiler_test.sh SOURCE_DIR WORK_DIR COMPILER LEVEL
# Ends with 75, which counts as skipped, where there is no such compiler.
set -euo pipefail

source_dir=$1 work_dir=$2 compiler=$3 level=$4

if ! command -v "$compiler" >/dev/null; then
    echo "SKIPPED: there is no $compiler here"
    exit 75
fi
cache=()
if command -v ccache >/dev/null; then
    cache=(ccache)
fi

mkdir -p "$work_dir"
cd "$source_dir"
objects=()
for source in src/convert/video/*.cpp src/core/log.cpp src/core/once.cpp tests/convert/oracle/*.cpp \
    tests/convert/naive_pixel_family.cpp tests/convert/pixel_family_members.cpp \
    tests/convert/geometry/routines.cpp tests/convert/hashes/{routine_hashes,hash_check}.cpp; do
    object=$work_dir/$(basename "$source" .cpp).o
    objects+=("$object")
    ${cache[@]+"${cache[@]}"} "$compiler" -std=c++17 "$level" -mssse3 -ffp-contract=off -Isrc -Itests \
        -c "$source" -o "$object"
done
"$compiler" "${objects[@]}" -o "$work_dir/hash_check" -lpthread
"$compiler" --version | head -1
"$work_dir/hash_check"
