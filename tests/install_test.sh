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
for file in bin/kslctl bin/ksltrace lib/libksl.so lib/libtrace_kbuf.so lib/libhwa.so lib/libqrthwa.gen1.so include/ksl/ksl.h lib/libkslcfg_file.so share/ksl/trace-points.json; do
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

# A program with trace records of its own; one listing has them and the library's.
cc -Wall -Wextra -Werror -I "$work/installed/include" examples/trace_records.c -o "$work/trace_records" \
    -L "$lib" -lksl -ltrace_kbuf -Wl,--allow-shlib-undefined
mkdir "$work/traces"
LD_LIBRARY_PATH=$lib TRACE_KBUF_DIR=$work/traces "$work/trace_records" || fail "the program with trace records failed"
"$work/installed/bin/ksltrace" show "$work/traces/XKSL.kbuf" --catalogue examples/trace_records.json --verbose |
    sed 's/^[^ ]* //; s/([^()]*)$//; s/ *$//; s/out=0x[0-9a-f]* //' >"$work/listing"
cat >"$work/expected" <<'END'
- lower library opened
> survey chip=0
  > ksl_read_link_status_reg chip=0
    - bytes 00 cc db df
  < ksl_read_link_status_reg result=0
  - port without a link port=5
  - port without a link port=10
  - port without a link port=13
  - port without a link port=16
  - port without a link port=17
  - port without a link port=20
  - port without a link port=21
< survey result=0 down=7
END
sed 1d "$work/listing" | diff "$work/expected" - >&2 || fail "the listing of both programs' records is another"
"$work/installed/bin/ksltrace" --catalogue "$work/installed/share/ksl/trace-points.json" catalogue |
    cmp - "$work/installed/share/ksl/trace-points.json" || fail "the installed catalogue is not the library's"

# What the README says about a process that died works as printed; its kslctl is to find no chip 9.
mkdir "$work/build" && ln -s "$work/installed" "$work/build/native"
awk '/^## What did a process/ { wanted = 1 } /^## What it costs/ { wanted = 0 }
     wanted && /^```sh$/ { inside = 1; next } /^```$/ { inside = 0 } inside' README.md |
    sed "s|/tmp/trace|$work/autopsy|g" >"$work/autopsy.sh"
[ -s "$work/autopsy.sh" ] || fail "the README does not tell how to find out what a process did"
(cd "$work" && sed '/^kslctl/s/ *#.*/ || [ $? -eq 3 ]/' autopsy.sh | LC_ALL=C sh -e) >"$work/findings" 2>&1 ||
    fail "what the README says about a process that died does not work"
grep -q 'ksl_read_link_status_regs chip=9 -> 101 in ' "$work/findings" || fail "the README's commands do not find the failed operation"

# The library alone wants a compiler and a trace library to link with, nothing else.
cmake -S . -B "$work/alone" -G Ninja -DKSL_BUILD_PLATFORM=OFF -DKSL_BUILD_TOOLS=OFF -DKSL_BUILD_TESTS=OFF \
    -DTRACE_KBUF_LIBRARY="$lib/libtrace_kbuf.so" >/dev/null
cmake --build "$work/alone" >/dev/null
[ -f "$work/alone/lib/libksl.so" ] || fail "the library does not build alone"
echo "install_test: the installed tree serves a first program, and the library builds alone"
