#!/usr/bin/env bash
# Makes build/macos/KVXImporter.pkg, an installer of the bundle that ./package-macos has made, on macOS.
# UNTRIED: it has been run on no Mac. Usage: make_installer.sh [SIGNING_IDENTITY]
set -euo pipefail
case ${1-} in
    -h | --help) sed -n '2,3s/^# //p' "$0"; exit ;;
esac
[ $# -le 1 ] || { echo "usage: make_installer.sh [SIGNING_IDENTITY]" >&2; exit 2; }
[ "$(uname -s)" = Darwin ] || { echo "make_installer.sh: needs pkgbuild of macOS" >&2; exit 75; }
cd "$(dirname "${BASH_SOURCE[0]}")/../../build/macos"

bundle=KVXImporter.bundle
[ -d "$bundle" ] || { echo "make_installer.sh: ./package-macos comes first" >&2; exit 1; }
# The bundle has the version from the build, as all else has.
about() {
    /usr/libexec/PlistBuddy -c "Print :$1" "$bundle/Contents/Info.plist"
}
identifier=$(about CFBundleIdentifier)
version=$(about CFBundleShortVersionString)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/root"
ditto "$bundle" "$work/root/$bundle"
codesign --force --sign "${KVX_CODE_IDENTITY:--}" "$work/root/$bundle"

# A bundle that is elsewhere on the disk must not be taken for the one to be replaced.
pkgbuild --analyze --root "$work/root" "$work/components.plist"
/usr/libexec/PlistBuddy -c "Set :0:BundleIsRelocatable false" "$work/components.plist"
pkgbuild --root "$work/root" --component-plist "$work/components.plist" \
    --identifier "$identifier" --version "$version" \
    --install-location "/Library/Application Support/Adobe/Common/Plug-ins/7.0/MediaCore" \
    "$work/component.pkg"
productbuild --package "$work/component.pkg" --identifier "$identifier.installer" \
    --version "$version" ${1:+--sign "$1"} KVXImporter.pkg
echo "made build/macos/KVXImporter.pkg"
