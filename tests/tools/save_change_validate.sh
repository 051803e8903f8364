#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Saves the simulated hub's VLAN settings, changes some, lets kslctl find the difference, and repairs it.
#     save_change_validate.sh BUILD [EMULATOR...]
# EMULATOR is what runs the programs of a build for another machine: qemu-ppc -cpu 7457 -L /usr/powerpc-linux-gnu
set -eu
build=$1
shift
emulator=$*
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HWA_SIM_DIR="$work/hub"
export HWA_SIM_LOG="$work/log"

fail() {
    echo "save_change_validate: $1" >&2
    exit 1
}

# expect STATUS COMMAND...: runs kslctl, which must end with that status; its output is in $work/out and $work/errors.
expect() {
    expected=$1
    shift
    : >"$work/log"
    status=0
    # shellcheck disable=SC2086 # the emulator is a list of words
    $emulator "$build/bin/kslctl" --simulate "$@" >"$work/out" 2>"$work/errors" || status=$?
    [ "$status" -eq "$expected" ] || {
        cat "$work/out" "$work/errors" >&2
        fail "kslctl $* ended with $status instead of $expected"
    }
}

# What the last command wrote into the hub's registers, as "page offset bytes". An entry of the VLAN table is read by
# writing the address and the command of the access (page 0x08).
written() {
    sed -n '/ page=0x08 offset=0x3[02] /d; s/^hwa_setreg chip=0 page=\(0x..\) offset=\(0x..\) length=. bytes=\(.*\) -> 0$/\1 \2 \3/p' "$work/log"
}

# What the last command would have written.
announced() {
    sed -n 's/^.*  \(0x..\)  *\(0x..\)  *\([0-9a-f ]*\)$/\1 \2 \3/p' "$work/out"
}

# change COMMAND...: announces the change, makes it, and compares the two.
change() {
    expect 0 "$@" --dry-run
    announced >"$work/announced"
    [ -s "$work/announced" ] || fail "kslctl $* --dry-run announces nothing"
    [ -z "$(written)" ] || fail "kslctl $* --dry-run wrote to the hub"
    grep -q . "$work/log" || fail "the hub keeps no log"
    expect 0 "$@"
    written >"$work/written"
    cmp "$work/announced" "$work/written" || fail "kslctl $* writes something else than its dry run announces"
}

# Save.
expect 0 hub expectation
cp "$work/out" "$work/before.json"
expect 0 --chip 0,1 hub scenario
cp "$work/out" "$work/scenario.json"
expect 0 validate pvid --expect "$work/before.json"
expect 0 validate vlan 1,100,200,4094 --expect "$work/before.json"
expect 0 validate enabled

# Change.
change vlan pvid 2-4 200 5
change vlan pvid 23 1
change port speed 12 100
change port down 5
change port up 16
change port reset-phy 6

# Validate: port 23 got what it had.
expect 1 validate pvid --expect "$work/before.json"
[ "$(awk '$1 ~ /^[0-9]+$/ { print $1 }' "$work/out" | paste -s -d ' ')" = '2 3 4' ] || {
    cat "$work/out" >&2
    fail "the ports that differ are not 2, 3 and 4"
}
grep -q '^   3  VLAN 100, priority 1  VLAN 200, priority 5$' "$work/out" || fail "expected and found are not side by side"
expect 0 validate vlan 100 --expect "$work/before.json"
expect 1 validate vlan 5 --expect "$work/before.json"
expect 1 --chip 1 validate enabled

# What cannot be compared is neither.
expect 3 validate pvid --expect "$work/absent.json"
expect 3 validate pvid --config "$build/lib/libtrace_kbuf.so"
expect 3 --chip 9 validate pvid --expect "$work/before.json"
expect 2 validate pvid

# Repair.
change vlan pvid 2-4 100 1
expect 0 validate pvid --expect "$work/before.json"
expect 0 hub expectation
cmp "$work/out" "$work/before.json" || fail "the repaired hub is not the saved one"

# The saved scenario is the hub as it was before all of it.
HWA_SIM_SCENARIO="$work/scenario.json"
export HWA_SIM_SCENARIO
expect 0 validate pvid --expect "$work/before.json"
expect 0 --chip 0,1 hub scenario
cmp "$work/out" "$work/scenario.json" || fail "the hub of the saved scenario is another one"
echo "save_change_validate: saved, changed, found the difference and repaired it"
