#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The description of an interface can be reviewed: an added function adds its own line, and changes no other.
set -eu
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# describe NAME [FUNCTION]: the interface of a library with two functions, and with one more where it is given.
describe() {
    {
        echo 'struct word { unsigned char bytes[4]; };'
        echo 'int read_first(unsigned chip, struct word *word);'
        echo "${2-}"
        echo 'int read_last(unsigned chip, const unsigned char *bytes);'
    } >"$folder/ksl.h"
    {
        echo '#include "ksl.h"'
        sed -n 's/^\(int .*\);$/\1 { return 0; }/p' "$folder/ksl.h"
    } >"$folder/ksl.c"
    cc -w -g -fPIC -shared -o "$folder/libksl.so" "$folder/ksl.c"
    python3 -B "$(dirname "$0")/interface.py" "$folder/libksl.so" "$folder" >"$folder/$1"
}

describe before
describe after 'int read_more(unsigned chip, struct word *word);'
changed=$(diff "$folder/before" "$folder/after" || true)
expected='3a4
> function int read_more(unsigned int, word *)'
[ "$changed" = "$expected" ] || {
    printf 'an added function changes this in the description:\n%s\nbut expected:\n%s\n' "$changed" "$expected" >&2
    exit 1
}
