#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# What lies in the current folder is not loaded: kslctl runs there with its own libraries, whatever is named like them.
#     current_folder_test.sh KSLCTL
set -eu
kslctl=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset LD_LIBRARY_PATH
export HWA_SIM_DIR="$work/hub"

# A library that says so when it is loaded, by every name that kslctl or its libraries ask for.
cat >"$work/loaded.c" <<'EOF'
#include <unistd.h>
__attribute__((constructor)) static void say_so(void) {
    static const char kText[] = "a library of the current folder was loaded\n";
    (void)!write(2, kText, sizeof kText - 1);
    _exit(99);
}
EOF
folder=$work/folder
mkdir -p "$folder/lib/ksl/simulator" "$work/lib/ksl/simulator"
cc -shared -fPIC -o "$folder/libhwa.so" "$work/loaded.c"
for name in libgcc_s.so.1 libstdc++.so.6 libc.so.6 libm.so.6 libksl.so libtrace_kbuf.so libqrthwa.gen1.so libkslcfg_file.so; do
    cp "$folder/libhwa.so" "$folder/$name"
done
# Next to the current folder, too, where a relative path from bin/ would lead.
cp "$folder"/*.so "$folder/lib"
cp "$folder"/*.so "$folder/lib/ksl/simulator"
cp "$folder"/*.so "$work/lib"
cp "$folder"/*.so "$work/lib/ksl/simulator"

cd "$folder"
"$kslctl" --simulate mode >"$work/mode" 2>"$work/said" || {
    cat "$work/said" >&2
    echo "current_folder_test: kslctl --simulate fails in a folder with libraries" >&2
    exit 1
}
grep -q managed "$work/mode"
# Without --simulate there is no hub, whatever lies here.
if "$kslctl" mode >"$work/mode" 2>"$work/said"; then
    echo "current_folder_test: kslctl finds a hub in the current folder" >&2
    exit 1
fi
if grep -q 'was loaded' "$work/said"; then
    cat "$work/said" >&2
    exit 1
fi
