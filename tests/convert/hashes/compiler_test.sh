#!/usr/bin/env bash
# Builds the converters and their models with one compiler at one level of optimisation, and compares
# what they make with the known hashes. What a compiler for arm64 makes is run on an emulated
# processor where this one is another.
#     compiler_test.sh SOURCE_DIR WORK_DIR COMPILER LEVEL
# Ends with 75, which counts as skipped, where there is no such compiler or no emulator.
set -euo pipefail

source_dir=$1 work_dir=$2 compiler=$3 level=$4

if ! command -v "$compiler" >/dev/null; then
    echo "SKIPPED: there is no $compiler here"
    exit 75
fi
run=()
case $("$compiler" -dumpmachine) in
    x86_64*) target=(-mssse3) ;;
    aarch64*)
        target=(-static)
        if [ "$(uname -m)" != aarch64 ]; then
            run=(qemu-aarch64)
        fi
        ;;
    *) target=() ;;
esac
if [ ${#run[@]} -gt 0 ] && ! command -v "${run[0]}" >/dev/null; then
    echo "SKIPPED: there is no ${run[0]} here (Debian package qemu-user)"
    exit 75
fi
cache=()
if command -v ccache >/dev/null; then
    cache=(ccache)
fi

mkdir -p "$work_dir"
cd "$source_dir"
objects=()
for source in src/convert/{video,pixel_family}/*.cpp src/core/{log,once}.cpp tests/convert/oracle/*.cpp \
    tests/convert/naive_pixel_family.cpp tests/convert/pixel_family_members.cpp \
    tests/convert/geometry/routines.cpp tests/convert/hashes/{routine_hashes,hash_check}.cpp; do
    object=$work_dir/$(basename "$source" .cpp).o
    objects+=("$object")
    ${cache[@]+"${cache[@]}"} "$compiler" -std=c++17 "$level" ${target[@]+"${target[@]}"} \
        -ffp-contract=off -Isrc -Itests -c "$source" -o "$object"
done
"$compiler" ${target[@]+"${target[@]}"} "${objects[@]}" -o "$work_dir/hash_check" -lpthread
"$compiler" --version | head -1
${run[@]+"${run[@]}"} "$work_dir/hash_check"
