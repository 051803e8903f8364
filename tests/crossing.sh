#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# A trace written on one architecture is rendered by the other, also that of a killed writer, and both use one simulated
# hub.
#     crossing.sh NATIVE-BUILD POWERPC-BUILD
set -eu
native=$1
powerpc=$2
work=$(mktemp -d)
pid=
trap '[ -z "$pid" ] || kill -9 "$pid" 2>/dev/null; rm -rf "$work"' EXIT
export HWA_SIM_DIR="$work/hub"
export LC_ALL=C # the two may know different ones

on_native() {
    program=$1
    shift
    "$native/$program" "$@"
}

on_powerpc() {
    program=$1
    shift
    qemu-ppc -cpu 7457 -L /usr/powerpc-linux-gnu "$powerpc/$program" "$@"
}

fail() {
    echo "crossing: $1" >&2
    exit 1
}

# The record that a killed writer had begun is damaged: then the status is 3.
ksltrace_on() {
    side=$1
    shift
    "on_$side" bin/ksltrace "$@" 2>"$work/problems" || [ $? -eq 3 ] || {
        cat "$work/problems" >&2
        fail "ksltrace $1 fails on $side"
    }
}

# Renders a trace of $writer on both sides, in every form: the same records.
render() {
    ksltrace_on "$writer" show "$1" >"$work/$writer.own"
    ksltrace_on "$reader" show "$1" >"$work/$writer.other"
    cmp "$work/$writer.own" "$work/$writer.other" || fail "the $writer trace reads differently on $reader"
    for format in json perfetto; do
        ksltrace_on "$writer" export "$1" "--$format" >"$work/$writer.$format.own"
        ksltrace_on "$reader" export "$1" "--$format" >"$work/$writer.$format.other"
        cmp "$work/$writer.$format.own" "$work/$writer.$format.other" ||
            fail "the $writer trace is exported as another $format on $reader"
    done
    ksltrace_on "$writer" export "$1" --ctf "$work/$writer.ctf"
    ksltrace_on "$reader" export "$1" --ctf "$work/$writer.ctf.other"
    diff -r "$work/$writer.ctf" "$work/$writer.ctf.other" || fail "the $writer trace is another CTF trace on $reader"
    # It warns of the record that a killed writer had begun.
    babeltrace2 "$work/$writer.ctf" >"$work/$writer.events" 2>"$work/log" || {
        cat "$work/log" >&2
        fail "babeltrace2 does not read the $writer trace"
    }
    [ "$(wc -l <"$work/$writer.events")" -eq "$(sed 1d "$work/$writer.json.own" | wc -l)" ] ||
        fail "babeltrace2 finds another number of events in the $writer trace"
}

# Writes a trace on one side and reads it on both.
compare() {
    writer=$1
    reader=$2
    TRACE_KBUF_DIR="$work/$writer" "on_$writer" bin/kslctl --simulate bist >"$work/out.$writer"
    set -- "$work/$writer"/kslctl/XKSL*
    [ -s "$1" ] || fail "$writer left no trace file"
    render "$1"
    grep -q ksl_read_bist_status_reg "$work/$writer.other" || fail "the $writer trace shows no self-test read on $reader"
}

# Kills a writer on one side, then looks on both for every record that it had finished.
kill_writer() {
    writer=$1
    reader=$2
    trace=$work/$writer/STAMPED.kbuf
    count=$work/$writer.count
    export TRACE_KBUF_DIR="$work/$writer"
    if [ "$writer" = native ]; then
        "$native/tests/trace_kbuf_stamped" write "$count" &
    else
        qemu-ppc -cpu 7457 -L /usr/powerpc-linux-gnu "$powerpc/tests/trace_kbuf_stamped" write "$count" &
    fi
    pid=$!
    # Some turns of its ring of 512.
    tries=0
    until finished=$(finished_count) && [ "$finished" -gt 5000 ]; do
        tries=$((tries + 1))
        [ "$tries" -lt 600 ] || fail "the $writer writer does not write"
        sleep 0.05
    done
    kill -9 "$pid"
    wait "$pid" 2>/dev/null || true
    pid=
    unset TRACE_KBUF_DIR
    finished=$(finished_count)
    "on_$writer" tests/trace_kbuf_stamped check "$trace" "$finished" || fail "misread on $writer"
    "on_$reader" tests/trace_kbuf_stamped check "$trace" "$finished" || fail "misread on $reader"
    rm -rf "$work/$writer.ctf" "$work/$writer.ctf.other"
    render "$trace"
}

finished_count() {
    [ -s "$count" ] || return 1
    order=little
    [ "$writer" = native ] || order=big
    od -A n -t u4 --endian="$order" "$count" | tr -d ' '
}

compare powerpc native
compare native powerpc
kill_writer powerpc native
kill_writer native powerpc
cmp "$work/out.native" "$work/out.powerpc" || fail "the two see different hubs"
echo "crossing: both architectures read each other's traces, a killed writer's too, and the same hub"
