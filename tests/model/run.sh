#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Searches every run of the model of a slot for one that breaks a promise:
#     run.sh                       there must be none
#     run.sh NO_CHECKSUM, ...      with a part of the protocol left out: there must be one
# Exit status: 77 where spin is not installed.
set -eu
folder=$(cd "$(dirname "$0")" && pwd)
command -v spin >/dev/null || {
    echo "model: spin is not installed"
    exit 77
}
left_out=${1-}
if [ -n "$left_out" ] && ! grep -q "^#ifdef $left_out\$" "$folder/slot.pml"; then
    echo "model: slot.pml knows no $left_out" >&2
    exit 2
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
spin -a ${left_out:+"-D$left_out"} "$folder/slot.pml"
cc -O1 -DSAFETY -o pan pan.c
./pan | tee result
# Neither a search that was cut short nor one that did not start counts.
grep -q '^State-vector' result
if [ -n "$left_out" ]; then
    grep -q 'pan:1: assertion violated' result || {
        echo "model: nothing goes wrong without what $left_out leaves out" >&2
        exit 1
    }
    exit 0
fi
grep -q 'errors: 0$' result
! grep -q 'max search depth too small' result
