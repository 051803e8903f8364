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
}

compare powerpc native
compare native powerpc
cmp "$work/out.native" "$work/out.powerpc" || fail "the two see different hubs"
echo "crossing: both architectures read each other's traces and the same hub"
