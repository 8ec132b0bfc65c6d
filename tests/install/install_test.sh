#!/usr/bin/env bash
# Installs a build, takes what is installed elsewhere, and builds and runs a project that finds it
# there; then asks the installed command. Usage: install_test.sh CMAKE COMPILER BUILD_DIR CONSUMER
set -euo pipefail
cmake=$1 compiler=$2 build=$3 consumer=$4

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$cmake" --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/second"
for file in man/man1/kvx.1 man/man1/kvx-info.1 bash-completion/completions/kvx \
    zsh/site-functions/_kvx fish/vendor_completions.d/kvx.fish; do
    [ -s "$work/second/share/$file" ] || { echo "share/$file is not installed"; exit 1; }
done

"$cmake" -S "$consumer" -B "$work/consumer" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_PREFIX_PATH="$work/second" >/dev/null
"$cmake" --build "$work/consumer" >/dev/null
"$work/consumer/consumer"

# No movie: the command has to get as far as asking its own module about it.
echo 'not a movie' >"$work/text.mov"
status=0
said=$("$work/second/bin/kvx" info "$work/text.mov" 2>&1) || status=$?
if [ "$status" -eq 0 ] || ! grep -q 'text.mov' <<<"$said"; then
    echo "the installed kvx ended with $status and said: $said"
    exit 1
fi
