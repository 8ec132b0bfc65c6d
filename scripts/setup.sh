#!/usr/bin/env bash
# What the commands in the root share: the packages that must be there, and how a preset is built.
# Sourced by scripts that stand in the root of the repository and run under `set -euo pipefail`.

# By what they are for; reached through their names in setup_packages.
# shellcheck disable=SC2034
setup_debian_build=(g++ cmake ninja-build libcli11-dev nlohmann-json3-dev zlib1g-dev libcairo2-dev
    nettle-dev pkg-config fonts-dejavu-core)
setup_debian_sample=(gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good)
setup_debian_quick=(libgtest-dev libgmock-dev libbenchmark-dev libpng-dev lld python3)
setup_debian_tests=(ffmpeg jq quicktime-utils qemu-user python3-jsonschema libsimde-dev
    man-db mandoc zsh fish)
setup_debian_arm64=(clang g++-aarch64-linux-gnu qemu-user googletest libgtest-dev)
setup_debian_clang=(clang libclang-rt-dev)
setup_debian_lint=(clang clang-format clang-tidy shellcheck git lintian dpkg-dev file)
setup_debian_macos=(lld-16 llvm zip ca-certificates python3)

setup_brew_build=(cmake ninja cli11 nlohmann-json cairo nettle pkg-config
    python3)
setup_brew_sample=(gstreamer)
setup_brew_quick=(googletest google-benchmark libpng)
setup_brew_tests=(ffmpeg jq) # there is no libquicktime; its movies are left out there
setup_brew_clang=(llvm)
setup_brew_lint=(llvm shellcheck)

setup_say() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
}

setup_fail() {
    setup_say "$*"
    exit 1
}

setup_as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        setup_fail "needs root for: $*"
    fi
}

# setup_quietly LOG COMMAND...: shows what the command said only if it fails.
setup_quietly() {
    local log=$1 status=0
    shift
    mkdir -p "$(dirname "$log")"
    "$@" >"$log" 2>&1 || status=$?
    if [ $status -ne 0 ]; then
        cat "$log" >&2
        setup_say "failed with $status: $*"
        return $status
    fi
}

setup_apt() {
    local package missing=()
    for package in "$@"; do
        # One query for each: dpkg-query leaves unknown names out of its list.
        if [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
            missing+=("$package")
        fi
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return
    fi
    setup_say "installing ${missing[*]}"
    setup_quietly build/log/packages.txt setup_as_root apt-get -q update
    setup_quietly build/log/packages.txt setup_as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get -q -y --no-install-recommends install "${missing[@]}"
}

setup_brew() {
    local package missing=()
    for package in "$@"; do
        if ! brew list --versions "$package" >/dev/null 2>&1; then
            missing+=("$package")
        fi
    done
    if [ ${#missing[@]} -gt 0 ]; then
        setup_say "installing ${missing[*]}"
        brew install "${missing[@]}"
    fi
}

# setup_packages GROUP...: installs what is missing of the groups: build is what kvx needs, sample
# makes a movie, quick, tests, arm64, clang and lint are what the sizes of ./test need besides.
setup_packages() {
    local group list system installer
    if [ "$(uname -s)" = Darwin ]; then
        command -v brew >/dev/null || setup_fail "needs Homebrew (https://brew.sh)"
        system=brew installer=setup_brew
    elif command -v apt-get >/dev/null; then
        system=debian installer=setup_apt
    else
        setup_say "this is neither Debian, Ubuntu nor macOS: taking the tools as they are"
        return
    fi
    local packages=()
    for group in "$@"; do
        list="setup_${system}_${group}[@]"
        packages+=("${!list}")
    done
    "$installer" "${packages[@]}"
}

# setup_arm64: installs what builds for arm64 and runs it on another processor. Answers other than 0,
# and says why, where there is no need or no way.
setup_arm64() {
    case $(uname -s)-$(uname -m) in
        Linux-aarch64 | Linux-arm64)
            setup_say "arm64 is not emulated: it is this machine's own"
            return 1
            ;;
        Linux-*) ;;
        *)
            setup_say "SKIPPED arm64: its emulation runs on Linux"
            return 1
            ;;
    esac
    if ! command -v apt-get >/dev/null || ! setup_packages arm64; then
        setup_say "SKIPPED arm64: the packages ${setup_debian_arm64[*]} cannot be had"
        return 1
    fi
}

# setup_configure PRESET [OPTION...]: makes build/PRESET ready for setup_build.
setup_configure() {
    local preset=$1
    shift
    local options=("$@")
    setup_say "configuring build/$preset"
    if command -v ccache >/dev/null; then
        options+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    setup_quietly "build/log/configure-$preset.txt" \
        cmake --preset "$preset" ${options[@]+"${options[@]}"}
}

# setup_is_configured PRESET [VARIABLE]: whether it is, and the variable, if named, is not off.
setup_is_configured() {
    [ -f "build/$1/build.ninja" ] &&
        { [ $# -lt 2 ] || ! grep -q "^$2:BOOL=OFF" "build/$1/CMakeCache.txt"; }
}

# setup_build PRESET [TARGET...]: configures the preset once and builds it into build/PRESET.
setup_build() {
    local preset=$1
    shift
    # What ./import has configured is without tests.
    if ! setup_is_configured "$preset" KVX_BUILD_TESTS; then
        setup_configure "$preset"
    fi
    setup_say "building build/$preset"
    if [ $# -gt 0 ]; then
        cmake --build --preset "$preset" --target "$@"
    else
        cmake --build --preset "$preset"
    fi
}
