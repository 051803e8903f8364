#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The tree as others use it: installed, with a first program built against it; and the library built alone.
#     install_test.sh BUILD
set -eu
build=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "install_test: $1" >&2
    exit 1
}

# The program of the README is the one that is built here.
awk '/^```c$/ { inside = 1; next } /^```$/ { inside = 0 } inside' README.md >"$work/first.c"
[ -s "$work/first.c" ] || fail "the README has no first program"

cmake --install "$build" --prefix "$work/installed" >/dev/null
for file in bin/kslctl bin/ksltrace lib/libksl.so lib/libtrace_kbuf.so lib/libhwa.so lib/libqrthwa.gen1.so include/ksl/ksl.h lib/libkslcfg_file.so; do
    [ -n "$(find "$work/installed" -path "*/${file#lib/}" -print -quit)" ] || fail "$file is not installed"
done
lib=$(dirname "$(find "$work/installed" -name libksl.so)")
export HWA_SIM_DIR="$work/hub"

"$work/installed/bin/kslctl" --simulate mode >"$work/mode" || fail "the installed kslctl does not run"
grep -q managed "$work/mode" || fail "the installed kslctl shows no switch mode"

cc -Wall -Werror -I "$work/installed/include" "$work/first.c" -o "$work/first" \
    -L "$lib" -lksl -ltrace_kbuf -Wl,--allow-shlib-undefined
LD_LIBRARY_PATH=$lib "$work/first" >"$work/ports" || fail "the first program failed"
[ "$(wc -l <"$work/ports")" -eq 24 ] || fail "the first program does not show 24 ports"
[ "$(sed 's/.*: //' "$work/ports" | sort -u | paste -s -d ' ')" = 'down up' ] || fail "the first program shows no links up and down"

# An expectation that was compiled against the installed header, and a hub that first differs from it.
cc -Wall -Werror -shared -fPIC -I "$work/installed/include" examples/expectation.c -o "$work/libexpectation.so"
kslctl() {
    "$work/installed/bin/kslctl" --simulate "$@" >"$work/out"
}
status=0
kslctl validate pvid --config "$work/libexpectation.so" || status=$?
[ "$status" -eq 1 ] || fail "comparing with the compiled expectation ended with $status instead of 1"
kslctl vlan pvid 0-11 1 0
kslctl vlan pvid 12-17 100 5
kslctl vlan pvid 18-23 300 7
kslctl validate pvid --config "$work/libexpectation.so" || fail "the hub is not as the compiled expectation has it"

# The library alone wants a compiler and a trace library to link with, nothing else.
cmake -S . -B "$work/alone" -G Ninja -DKSL_BUILD_PLATFORM=OFF -DKSL_BUILD_TOOLS=OFF -DKSL_BUILD_TESTS=OFF \
    -DTRACE_KBUF_LIBRARY="$lib/libtrace_kbuf.so" >/dev/null
cmake --build "$work/alone" >/dev/null
[ -f "$work/alone/lib/libksl.so" ] || fail "the library does not build alone"
echo "install_test: the installed tree serves a first program, and the library builds alone"
