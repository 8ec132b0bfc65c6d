#!/bin/sh
# replace_calls.sh NM LIBRARY FUNCTION OPTIONS: writes the linker's options that lead a program's calls
# of a function of the library to the test's own, whatever the function's parameters are.
#
# FUNCTION is written as in the source: of A::B, kvx_instead_of_B is called, and kvx_true_B is the
# library's own. Only calls from another object file are led there.
set -eu
nm=$1 library=$2 function=$3 options=$4
name=${function##*::}

"$nm" --defined-only "$library" >"$options.names" 2>/dev/null
"$nm" --defined-only --demangle "$library" >"$options.demangled" 2>/dev/null
symbols=$(paste -d '\t' "$options.names" "$options.demangled" |
    awk -F '\t' -v start="$function(" '
        { split($1, symbol, " "); demangled = $2; sub(/^[^ ]+ [^ ]+ /, "", demangled) }
        symbol[2] == "T" && index(demangled, start) == 1 { print symbol[3] }')
rm "$options.names" "$options.demangled"
if [ "$(printf '%s\n' "$symbols" | grep -c .)" -ne 1 ]; then
    echo "replace_calls.sh: not one function $function in $library: ${symbols:-none}" >&2
    exit 1
fi

cat >"$options.new" <<END
--undefined=$symbols
--wrap=$symbols
--defsym=__wrap_$symbols=kvx_instead_of_$name
--defsym=kvx_true_$name=__real_$symbols
END
# Nothing is linked again for the same options.
if cmp -s "$options.new" "$options"; then
    rm "$options.new"
else
    mv "$options.new" "$options"
fi
