#!/usr/bin/env bash
# ./import with movies of any name, without its setting up and building. Usage: import_test.sh KVX
# IMPORT MEDIA
set -euo pipefail

kvx=$1 import=$2 media=$3
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

mkdir -p "$root/scripts" "$root/build/release/bin" "$root/movies"
cp "$import" "$root/import"
ln -s "$kvx" "$root/build/release/bin/kvx"
cat >"$root/scripts/setup.sh" <<'END'
setup_say() { printf 'import: %s\n' "$*" >&2; }
setup_packages() { :; }
setup_is_configured() { :; }
setup_quietly() { :; }
END

fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

# expect_outputs STEM FILE...: nothing else was made, and no control character was printed.
expect_outputs() {
    local stem=$1 file
    shift
    for file in "$@"; do
        [ -s "$root/build/import/$stem$file" ] || fail "there is no $stem$file"
    done
    [ "$(find "$root/build/import" -mindepth 1 -maxdepth 1 -printf x | wc -c)" -eq $# ] ||
        fail "there is more than was to be made of $stem"
    if LC_ALL=C grep -q '[[:cntrl:]]' "$root/log"; then
        fail "control characters were printed of $stem"
    fi
    rm -r "$root/build/import"
}

ending=$'end of line\n'
control=$'a\e[2J\nkvx: b'
for name in plain.mov -dash.mov --mend.mov $'line\nbreak.mov' "$control.mov" "$ending.mov" \
    $'ends\n' 'two  spaces.mov' '*.mov' "\$(x).mov"; do
    cp "$media/tracks/three-sounds.mov" "$root/movies/$name"
    (cd "$root/movies" && ../import "./$name") >"$root/log" 2>&1 ||
        fail "$name: $(cat "$root/log")"
    tr -d '\n' <"$root/log" >"$root/log.one" && mv "$root/log.one" "$root/log"
    expect_outputs "${name%.*}" .png .wav .frames/000000.png
    rm "$root/movies/$name"
done

# Without a folder before it.
cp "$media/tracks/three-sounds.mov" "$root/movies/-x.mov"
(cd "$root/movies" && ../import -x.mov) >/dev/null 2>&1 || fail "-x.mov is not imported"
rm -r "$root/build/import"

# One that is refused is named so that the line can be typed, and mended in a copy.
refused=$'u\nv.mov'
cp "$media/unmended/v210-timecode.mov" "$root/movies/$refused"
status=0
"$root/import" "$root/movies/$refused" >"$root/log" 2>&1 || status=$?
[ $status -eq 1 ] || fail "a refused movie ended with $status"
grep -qF "mend -- \$'$root/movies/u\\nv.mov'" "$root/log" || fail "no line: $(cat "$root/log")"
"$root/import" --mend "$root/movies/$refused" >"$root/log" 2>&1 || fail "$(cat "$root/log")"
[ -s "$root/build/import/"$'u\nv.mended.mov' ] || fail "there is no mended copy"

status=0
"$root/import" $'no\nmovie.mov' >"$root/log" 2>&1 || status=$?
if [ $status -ne 1 ] || [ "$(wc -l <"$root/log")" -ne 1 ]; then
    fail "$(cat "$root/log")"
fi
