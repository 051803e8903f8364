#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# A trace written on one architecture is rendered by the other, and both use one simulated hub.
#     crossing.sh NATIVE-BUILD POWERPC-BUILD
set -eu
native=$1
powerpc=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HWA_SIM_DIR="$work/hub"

on_native() {
    program=$1
    shift
    "$native/bin/$program" "$@"
}

on_powerpc() {
    program=$1
    shift
    qemu-ppc -cpu 7457 -L /usr/powerpc-linux-gnu "$powerpc/bin/$program" "$@"
}

fail() {
    echo "crossing: $1" >&2
    exit 1
}

# Writes a trace on one side and reads it on both: the same records, but for the clock.
compare() {
    writer=$1
    reader=$2
    TRACE_KBUF_DIR="$work/$writer" "on_$writer" kslctl --simulate bist >"$work/out.$writer"
    set -- "$work/$writer"/XKSL*
    [ -s "$1" ] || fail "$writer left no trace file"
    "on_$writer" ksltrace show "$1" >"$work/$writer.own"
    "on_$reader" ksltrace show "$1" >"$work/$writer.other"
    grep -q ksl_read_bist_status_reg "$work/$writer.other" || fail "the $writer trace shows no self-test read on $reader"
    cmp "$work/$writer.own" "$work/$writer.other" || fail "the $writer trace reads differently on $reader"
    for format in json perfetto; do
        "on_$writer" ksltrace export "$1" "--$format" >"$work/$writer.$format.own"
        "on_$reader" ksltrace export "$1" "--$format" >"$work/$writer.$format.other"
        cmp "$work/$writer.$format.own" "$work/$writer.$format.other" ||
            fail "the $writer trace is exported as another $format on $reader"
    done
    "on_$writer" ksltrace export "$1" --ctf "$work/$writer.ctf"
    "on_$reader" ksltrace export "$1" --ctf "$work/$writer.ctf.other"
    diff -r "$work/$writer.ctf" "$work/$writer.ctf.other" || fail "the $writer trace is another CTF trace on $reader"
    babeltrace2 "$work/$writer.ctf" >"$work/$writer.events" || fail "babeltrace2 does not read the $writer trace"
    [ "$(wc -l <"$work/$writer.events")" -eq "$(sed 1d "$work/$writer.json.own" | wc -l)" ] ||
        fail "babeltrace2 finds another number of events in the $writer trace"
}

compare powerpc native
compare native powerpc
cmp "$work/out.native" "$work/out.powerpc" || fail "the two see different hubs"
echo "crossing: both architectures read each other's traces and the same hub"
