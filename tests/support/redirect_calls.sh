#!/bin/sh
# redirect_calls.sh NM OBJCOPY CALLS LIBRARY COPY: copies a static library with the calls listed in
# CALLS led to other functions.
#
# The library's own copies of the standard templates get names that nobody else has: the linker
# keeps one copy of a template for the whole program, which would be one whose allocations go to the
# system. That goes for the names of groups ("n") as well as for those of functions ("W"): constructors
# stand in groups, and the linker would throw away one of two groups of the same name.
set -eu
nm=$1 objcopy=$2 calls=$3 library=$4 copy=$5

{
    cat "$calls"
    "$nm" --defined-only "$library" 2>/dev/null |
        awk '($2 == "W" || $2 == "n") && $3 ~ /^_ZNK?(St|9__gnu_cxx)/ { print $3, "kvx_own" $3 }' | sort -u
} >"$copy.syms"
"$objcopy" --redefine-syms="$copy.syms" "$library" "$copy"
