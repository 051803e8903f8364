# SPDX-License-Identifier: Apache-2.0
# What the scripts share; sourced with the top of the tree as the current folder.

step() {
    printf '\n== %s\n' "$*"
}

die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 3
}

# no_arguments "$@": for scripts that take none.
no_arguments() {
    [ $# -eq 0 ] || {
        echo "usage: scripts/${0##*/}" >&2
        exit 2
    }
}

# need_packages PACKAGE...: installs those that are missing, or says which they are.
need_packages() {
    missing=
    for package in "$@"; do
        if [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
            missing="$missing $package"
        fi
    done
    [ -n "$missing" ] || return 0
    if [ "$(id -u)" -eq 0 ]; then
        as_root=
    elif sudo -n true 2>/dev/null; then
        as_root=sudo
    else
        die "these Debian packages are missing; install them as root with: apt-get install$missing"
    fi
    step "Installing$missing"
    # shellcheck disable=SC2086 # both are lists of words
    {
        $as_root apt-get -qq update &&
            $as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq -y install --no-install-recommends $missing
    } >&2 || die "these Debian packages could not be installed:$missing"
}

# Packages that every build of the whole tree wants.
# shellcheck disable=SC2034 # for the scripts
build_packages='cmake ninja-build g++ libcli11-dev nlohmann-json3-dev libfmt-dev scdoc'
# Packages that cross-building for PowerPC and running the result want on top.
# shellcheck disable=SC2034
powerpc_packages='g++-powerpc-linux-gnu qemu-user'
# What making and trying the Debian packages wants on top, with the shells that complete command lines.
# shellcheck disable=SC2034
package_packages='dpkg-dev lintian pkgconf bash zsh fish'

# configure PRESET [CMAKE-OPTION...]: configures build/PRESET; silent unless it fails.
configure() {
    log=$(mktemp)
    cmake --preset "$@" >"$log" 2>&1 || {
        cat "$log" >&2
        rm -f "$log"
        die "the $1 build could not be configured"
    }
    rm -f "$log"
}

# compile PRESET [TARGET...]: builds the targets in build/PRESET, or all that the preset names. Shows its progress on a
# terminal; otherwise it is silent unless something fails.
compile() {
    preset=$1
    shift
    [ $# -eq 0 ] || set -- --target "$@"
    if [ -t 1 ]; then
        cmake --build --preset "$preset" "$@" || die "the $preset build failed"
        return
    fi
    log=$(mktemp)
    cmake --build --preset "$preset" "$@" >"$log" 2>&1 || {
        cat "$log" >&2
        rm -f "$log"
        die "the $preset build failed"
    }
    rm -f "$log"
}

# build PRESET [CMAKE-OPTION...]: configures and builds in build/PRESET. Shows its progress on a terminal; otherwise
# it is silent unless something fails.
build() {
    configure "$@"
    compile "$1"
}

# build_target PRESET BUILD-PRESET: the same for the targets of a build preset alone.
build_target() {
    configure "$1"
    compile "$2"
}
