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
lib=$(dirname "$(find "$work/installed" -name libksl.so)")
simulator=$lib/ksl/simulator
cmp LICENSE "$work/installed/share/doc/ksl/LICENSE" || fail "the licence is not installed"
[ "$(cd "$work/installed/share/doc" && echo *)" = ksl ] || fail "what belongs to packages alone is installed"
export HWA_SIM_DIR="$work/hub"

python3 -B tests/build/search_paths_test.py readelf "$work/installed" || fail "an installed file looks in the current folder"
sh tests/build/current_folder_test.sh "$work/installed/bin/kslctl" || fail "the installed kslctl loads what lies in its folder"

"$work/installed/bin/kslctl" --simulate mode >"$work/mode" || fail "the installed kslctl does not run"
grep -q managed "$work/mode" || fail "the installed kslctl shows no switch mode"

cc -Wall -Werror -I "$work/installed/include" "$work/first.c" -o "$work/first" \
    -L "$lib" -lksl -L "$simulator" -ltrace_kbuf -Wl,--allow-shlib-undefined
LD_LIBRARY_PATH=$lib:$simulator "$work/first" >"$work/ports" || fail "the first program failed"
[ "$(wc -l <"$work/ports")" -eq 24 ] || fail "the first program does not show 24 ports"
[ "$(sed 's/.*: //' "$work/ports" | sort -u | paste -s -d ' ')" = 'down up' ] || fail "the first program shows no links up and down"

"$work/installed/bin/ksltrace" --catalogue "$work/installed/share/ksl/trace-points.json" catalogue |
    cmp - "$work/installed/share/ksl/trace-points.json" || fail "the installed catalogue is not the library's"

# The commands that docs/ksltrace.md shows for a process that died work as printed. Its kslctl finds no chip 9.
mkdir "$work/build" && ln -s "$work/installed" "$work/build/native"
awk '/^## What did a process/ { wanted = 1 } /^## Where durations/ { wanted = 0 }
     wanted && /^```sh$/ { inside = 1; next } /^```$/ { inside = 0 } inside' docs/ksltrace.md |
    sed "s|/tmp/trace|$work/autopsy|g" >"$work/autopsy.sh"
[ -s "$work/autopsy.sh" ] || fail "docs/ksltrace.md does not show how to find out what a process did"
(cd "$work" && sed '/^kslctl/s/ *#.*/ || [ $? -eq 3 ]/' autopsy.sh | LC_ALL=C sh -e) >"$work/findings" 2>&1 ||
    fail "the commands for a process that died do not work"
grep -q 'ksl_read_link_status_regs chip=9 -> 101 in ' "$work/findings" || fail "the commands for a process that died do not find the failed operation"

# The library alone wants a compiler and a trace library to link with, nothing else. Here it is built for a machine with
# pages of 64 KiB, whose loader would refuse a library that is aligned to smaller ones.
cmake -S . -B "$work/alone" -G Ninja -DKSL_BUILD_PLATFORM=OFF -DKSL_BUILD_TOOLS=OFF -DKSL_BUILD_TESTS=OFF \
    -DCMAKE_SHARED_LINKER_FLAGS=-Wl,-z,max-page-size=65536 \
    -DTRACE_KBUF_LIBRARY="$simulator/libtrace_kbuf.so" >/dev/null
cmake --build "$work/alone" >/dev/null
[ -f "$work/alone/lib/libksl.so" ] || fail "the library does not build alone"
[ "$(readelf --wide --segments "$work/alone/lib/libksl.so" | awk '$1 == "LOAD" { print $NF }' | sort -u)" = 0x10000 ] ||
    fail "the library is not aligned to the pages of its machine"
echo "install_test: the installed tree serves a first program, and the library builds alone"
