#!/usr/bin/env bash
# Makes the packages for Linux, and runs the command out of each where nothing else is: out of the
# tarball wherever it lies, out of the .deb in a root of its own with the libraries that the system
# would bring. Usage: linux_package_test.sh CPACK BUILD_DIR VERSION
# Exit status 75: what it takes is not installed.
set -euo pipefail
cpack=$1 build=$2 version=$3

for program in dpkg-deb dpkg-shlibdeps strings ffmpeg; do
    command -v "$program" >/dev/null || { echo "SKIPPED: $program is not installed"; exit 75; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
    echo "$*"
    exit 1
}

(cd "$build" && "$cpack" --config CPackConfig.cmake -B "$work/packages") >"$work/log" 2>&1 || {
    cat "$work/log"
    exit 1
}
deb=$(echo "$work"/packages/*.deb)
tarball=$(echo "$work"/packages/*.tar.gz)

# Such as ffmpeg writes: refused, and imported once it is mended.
ffmpeg -nostdin -v error -f lavfi -i testsrc=size=192x108:rate=25:duration=0.4 -c:v v210 \
    -f mov "$work/movie.mov"

# try FOLDER_OF_MOVIE COMMAND...: what the command does with the movie, as that place names it.
try() {
    local movie=$1 status=0
    shift
    [ "$("$@" --version)" = "kvx $version" ] || fail "$* is not version $version"
    "$@" info "$movie" >/dev/null 2>&1 || status=$?
    [ "$status" -eq 1 ] || fail "$* info: $status for a movie that is refused"
    "$@" mend "$movie" >/dev/null || fail "$* mend: $?"
    "$@" info "$movie" | grep -q v210 || fail "$* info does not tell of the mended movie"
}

# no_build_path FOLDER: neither this tree's nor the sources' path is in what runs.
no_build_path() {
    local file sources
    sources=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$build/CMakeCache.txt")
    while read -r file; do
        ! strings -a "$file" | grep -F -e "$build" -e "$sources" ||
            fail "$file has a path of this machine"
    done < <(find "$1" -type f)
}

mkdir "$work/anywhere"
tar -xzf "$tarball" -C "$work/anywhere"
mv "$work/anywhere"/kvx-* "$work/anywhere/else where"
no_build_path "$work/anywhere"
cp "$work/movie.mov" "$work/anywhere/"
(cd / && try "$work/anywhere/movie.mov" env -i "$work/anywhere/else where/bin/kvx")
ln -s "$work/anywhere/else where/bin/kvx" "$work/anywhere/linked"
(cd / && env -i "$work/anywhere/linked" info "$work/anywhere/movie.mov" >/dev/null) ||
    fail "the command does not find its module through a link"

field() {
    dpkg-deb --field "$deb" "$1"
}
[ "$(field Package) $(field Version)" = "kvx $version" ] || fail "the package's name or version"
[ "$(field Architecture)" = "$(dpkg --print-architecture)" ] || fail "the package's architecture"
for library in libc6 libcairo2 libnettle8 libstdc++6; do
    field Depends | grep -q "$library" || fail "the package does not depend on $library"
done
root=$work/root
dpkg-deb -x "$deb" "$root"
no_build_path "$root"
for file in man/man1/kvx.1.gz bash-completion/completions/kvx zsh/site-functions/_kvx \
    fish/vendor_completions.d/kvx.fish; do
    [ -s "$root/usr/share/$file" ] || fail "the package has no share/$file"
done
cp "$work/movie.mov" "$root/movie.mov"
if [ "$(id -u)" -eq 0 ]; then
    # With the libraries, and with what a system without /proc would lack.
    ldd "$root/usr/bin/kvx" "$root"/usr/lib/kvx/*.so | grep -o ' */[^ :]* (' | tr -d ' (' | sort -u |
        while read -r library; do
            mkdir -p "$root$(dirname "$library")"
            cp -L "$library" "$root$library"
        done
    mkdir -p "$root/proc/self" "$root/tmp"
    ln -s /usr/bin/kvx "$root/proc/self/exe"
    try /movie.mov chroot "$root" /usr/bin/kvx
else
    echo "not root: the package is run where it is unpacked, not in a root of its own"
    try "$root/movie.mov" env -i "$root/usr/bin/kvx"
fi

if command -v lintian >/dev/null; then
    # Neither a licence nor who answers for packages is settled, so there is no copyright file and
    # the address leads nowhere. CPack calls ldconfig for any module in a folder of usr/lib, which
    # does no harm.
    tags=no-copyright-file,bogus-mail-host,bogus-mail-host-in-debian-changelog
    tags+=,maintscript-calls-ldconfig
    lintian --allow-root --fail-on none --suppress-tags "$tags" "$deb" >"$work/tags" 2>&1
    if grep -q '^[EW]: ' "$work/tags"; then
        cat "$work/tags"
        exit 1
    fi
else
    echo "lintian is not installed: what it would say is not known"
fi
