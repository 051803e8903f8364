#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The Debian packages of a build: what is in them, and what a person with nothing else makes of them.
#     package_test.sh BUILD [EMULATOR...]
set -eu
top=$PWD
build=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "package_test: $1" >&2
    exit 1
}

# ---- Made, and as Debian wants them ----

rm -rf "$build/packages"
(cd "$build" && cpack >packages.log 2>&1) || {
    cat "$build/packages.log" >&2
    fail "the packages could not be made"
}
version=$(sed -n 's/^set(CPACK_PACKAGE_VERSION "\(.*\)")/\1/p' "$build/CPackConfig.cmake")
lintian --fail-on error --tag-display-limit 0 "$build"/packages/*.deb >"$build/lintian.log" 2>&1 || {
    cat "$build/lintian.log" >&2
    fail "lintian finds errors in the packages"
}

root=$work/root
for package in libksl libksl-dev ksl-tools ksl-simulator; do
    deb=$(echo "$build/packages/${package}_${version}_"*.deb)
    [ -f "$deb" ] || fail "there is no package $package of version $version"
    dpkg -x "$deb" "$root"
    dpkg -x "$deb" "$work/$package"
    (cd "$work/$package" && find . ! -type d ! -path './usr/share/man/*' | sed "s|^\.|$package|") >>"$work/contents"
done
LC_ALL=C sort "$work/contents" | diff tests/package_contents.txt - >&2 || fail "the packages have other contents"
architecture=$(dpkg-deb -f "$deb" Architecture)
for source in docs/man/*.scd; do
    [ ! -e "$source" ] || [ "$(find "$root/usr/share/man" -name "$(basename "$source" .scd).gz" | wc -l)" -eq 1 ] ||
        fail "no package has the page of $source"
done
operations=$(sed -n '/# State/q; s/^    \([A-Za-z_0-9]*\);$/\1/p' src/ksl.map)
for operation in $operations; do
    [ -f "$root/usr/share/man/man3/$operation.3.gz" ] || fail "man finds no page of $operation"
done

# Of each library that a package's own files ask for, a package must be named that has it.
for package in libksl ksl-tools ksl-simulator; do
    find "$work/$package" -type f \( -name '*.so' -o -path '*/bin/*' \) -exec readelf --wide -d -V {} + >"$work/elf"
    needed=$(sed -n 's/.*(NEEDED).*\[\(.*\)\]$/\1/p' "$work/elf" | sort -u)
    newest=$(grep -o 'Name: GLIBC_[0-9.]*' "$work/elf" | sed 's/.*_//' | sort -uV | tail -n 1)
    depends=$(dpkg-deb -f "$build/packages/${package}_${version}_$architecture.deb" Depends)
    for library in $needed; do
        case $library in
        libc.so.6 | ld*.so.*) wanted="libc6 (>= " ;;
        libm.so.6) wanted="libc6 (>= " ;;
        libstdc++.so.6) wanted="libstdc++6 (>= " ;;
        libgcc_s.so.1) wanted=libgcc-s1 ;;
        libksl.so) wanted="libksl (= $version)" ;;
        libtrace_kbuf.so) continue ;; # the platform's, or ksl-simulator's
        *) fail "$package needs $library, of which no package is known" ;;
        esac
        case $depends in
        *"$wanted"*) ;;
        *) fail "$package needs $library, and depends on \"$depends\"" ;;
        esac
    done
    stated=$(echo "$depends" | sed -n 's/.*libc6 (>= \([0-9.]*\)).*/\1/p')
    [ "$(printf '%s\n' "$newest" "$stated" | sort -V | tail -n 1)" = "$stated" ] ||
        fail "$package needs glibc $newest, and depends on $stated"
done

# ---- As a programmer meets them: every command that an example has in its first lines ----

export PKG_CONFIG_LIBDIR="$root/usr/lib/pkgconfig" PKG_CONFIG_PATH=
for name in ksl trace_kbuf trace_kbuf_reader; do
    pkg-config --validate "$name" || fail "pkg-config finds faults with $name.pc"
    [ "$(pkg-config --modversion "$name")" = "$version" ] || fail "$name.pc has another version than the package"
done
cross=
[ $# -eq 0 ] || cross=$architecture-linux-gnu-
cp -r "$root/usr/share/ksl/examples" "$work/examples"
cd "$work/examples"
for source in *.c *.cpp; do
    command=$(sed -n 's/^[ /*]* \(\(cc\|c++\) .*\)$/\1/p' "$source")
    [ -n "$command" ] || fail "$source does not say how it is built"
    case $command in
    cc\ *) command="${cross}gcc -Wall -Wextra -Werror ${command#cc }" ;;
    *) command="${cross}g++ -Wall -Wextra -Werror ${command#c++ }" ;;
    esac
    if ! (eval "$command") >"$work/log" 2>&1 || [ -s "$work/log" ]; then
        cat "$work/log" >&2
        fail "$source is not built by what it says, or not without a word: $command"
    fi
done

# run PROGRAM... on the simulated hub, as the README says.
libraries=$root/usr/lib:$(pkg-config --variable=simulator ksl)
emulator=$*
export HWA_SIM_DIR="$work/hub"
run() {
    # shellcheck disable=SC2086 # a list of words
    if [ -n "$emulator" ]; then
        $emulator -E LD_LIBRARY_PATH="$libraries" "$@"
    else
        LD_LIBRARY_PATH=$libraries "$@"
    fi
}
# The tools find their libraries by themselves.
tool() {
    program=$root/usr/bin/$1
    shift
    # shellcheck disable=SC2086 # a list of words
    $emulator "$program" "$@"
}

run ./status >"$work/status" || fail "status fails"
tool kslctl --simulate --json status >"$work/status.json" || fail "the packaged kslctl does not find the simulated hub"
python3 - "$work/status" "$work/status.json" <<'END' || fail "status and kslctl do not show the same"
import json, sys
document = json.load(open(sys.argv[2]))
expected = [f"port {p['port']:2}  " + (f"up    {p['speed']:3} Mb/s  {p['duplex']} duplex" if p["link"] else "down")
            for p in document["chips"][0]["ports"]]
sys.exit(expected != open(sys.argv[1]).read().splitlines())
END
status=0
run ./status 9 2>"$work/log" >&2 || status=$?
[ "$status $(cat "$work/log")" = "1 the status of chip 9 could not be read: code 101" ] || fail "status has a chip 9"

# Counters: the two ports that count there and have a link. Their rates are 2600 and 110, by half more or less; the
# bounds leave room for a busy machine, and none for a number that was not divided by the time. One of them soon wraps.
sed 's/fffff000/ffffff80/' "$root/usr/share/ksl/scenarios/busy.json" >busy.json
HWA_SIM_DIR=$work/busy HWA_SIM_SCENARIO=busy.json run ./poll_counters 3 200 >"$work/rates" ||
    fail "poll_counters fails"
awk '{ sum[$2] += $5; lines[$2]++ }
    END { exit !(NR == 6 && lines[0] == 3 && lines[1] == 3 && sum[0] / 3 > 900 && sum[0] / 3 < 5200 &&
        sum[1] / 3 > 38 && sum[1] / 3 < 220) }' "$work/rates" || {
    cat "$work/rates" >&2
    fail "poll_counters does not show 2600 and 110 a second"
}

# An expectation, as a file and compiled, and a hub that first differs from it. Its table has one of the VLANs.
cat >expected_hub.json <<'END'
{ "name": "one VLAN of two", "chips": [{ "chip": 0, "vlan": { "enabled": true, "entries": [
    { "vid": 100, "upper_map": "0x003f000", "lower_map": "0x103f000" } ] } }] }
END
for library in "$root/usr/lib/libkslcfg_file.so" ./libexpectation.so; do
    export HWA_SIM_DIR="$work/hub of ${library##*/}" HWA_SIM_SCENARIO=expected_hub.json
    status=0
    KSL_CFG_FILE=expectation.json run ./validate "$library" 100 300 >"$work/verdicts" || status=$?
    [ "$status $(sed 's/.*: //; s/,.*//' "$work/verdicts" | paste -s -d ' ')" = "1 differ as expected differ" ] ||
        fail "validate does not find that PVIDs and VLAN 300 differ from what $library expects"
    tool kslctl --simulate vlan pvid 0-11 1 0 >"$work/log" 2>&1
    tool kslctl --simulate vlan pvid 12-17 100 5 >"$work/log" 2>&1
    tool kslctl --simulate vlan pvid 18-23 300 7 >"$work/log" 2>&1
    KSL_CFG_FILE=expectation.json run ./validate "$library" 100 >"$work/verdicts" || fail "the hub is not as $library expects it"
    printf '%s: as expected\n' PVIDs "ports of VLAN 100" | cmp - "$work/verdicts" || fail "validate says something else of $library"
    ! KSL_CFG_FILE=expectation.json run ./validate "$library" 300 100 >"$work/verdicts" || fail "validate forgets VLAN 300"
done
# Without its folder it is looked for in the loader's, and kslctl says what is meant.
status=0
tool kslctl --simulate validate pvid --config libexpectation.so >"$work/log" 2>&1 || status=$?
[ "$status $(grep -c 'say ./libexpectation.so$' "$work/log")" = "3 1" ] || fail "kslctl does not say how to name a library"
export HWA_SIM_DIR="$work/hub"
unset HWA_SIM_SCENARIO

# Records of a program's own; one listing has them and the library's.
mkdir "$work/traces"
TRACE_KBUF_DIR=$work/traces run ./trace_records || fail "trace_records fails"
tool ksltrace show "$work/traces/XKSL.kbuf" --catalogue trace_records.json --verbose |
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
sed 1,2d "$work/listing" | diff "$work/expected" - >&2 || fail "the listing of both programs' records is another"

# A program of one's own reads them, too.
cat >reader.c <<'END'
#include <stdio.h>
#include <trace_kbuf_reader.h>
int main(int argc, char **argv) {
    struct trace_kbuf_snapshot *trace = argc == 2 ? trace_kbuf_snapshot_file(argv[1]) : 0;
    if (trace == 0 || trace->status != TRACE_KBUF_WHOLE)
        return 1;
    printf("%u\n", (unsigned)trace->record_count);
    trace_kbuf_snapshot_free(trace);
    return 0;
}
END
# shellcheck disable=SC2046 # a list of words
"${cross}gcc" -Wall -Wextra -Werror reader.c -o reader $(pkg-config --cflags --libs trace_kbuf_reader)
[ "$(run ./reader "$work/traces/XKSL.kbuf")" = "$(wc -l <"$work/expected")" ] || fail "the reader counts other records"

for name in kslctl ksltrace; do
    [ "$(tool $name --version)" = "$name $version" ] || fail "$name is of another version than the package"
done

# ---- The platform's own libraries go before the simulator's ----

# trace_library_of_kslctl [VARIABLE=VALUE]: the folder from which it takes the trace library.
trace_library_of_kslctl() {
    # shellcheck disable=SC2086 # a list of words
    if [ -n "$emulator" ]; then
        $emulator -E LD_TRACE_LOADED_OBJECTS=1 ${1:+-E "$1"} "$root/usr/bin/kslctl"
    else
        env LD_TRACE_LOADED_OBJECTS=1 "$@" "$root/usr/bin/kslctl"
    fi | sed -n 's|.*libtrace_kbuf.so => \(.*\)/libtrace_kbuf.so .*|\1|p' | xargs realpath
}
simulator=$(realpath "$root/usr/lib/ksl/simulator")
[ "$(trace_library_of_kslctl)" = "$simulator" ] || fail "kslctl does not find the simulator's trace library"
status=0
LD_LIBRARY_PATH=$root/usr/lib tool kslctl status 2>"$work/log" >&2 || status=$?
[ "$status $(grep -c 'neither libhwa.so nor' "$work/log")" = "3 1" ] || fail "kslctl finds a hub without being told where"
mkdir "$work/platform"
cp "$simulator/libtrace_kbuf.so" "$work/platform"
[ "$(trace_library_of_kslctl "LD_LIBRARY_PATH=$work/platform")" = "$work/platform" ] ||
    fail "the simulator's trace library goes before one of LD_LIBRARY_PATH"
cp "$simulator/libtrace_kbuf.so" "$root/usr/lib"
[ "$(trace_library_of_kslctl)" = "$(realpath "$root/usr/lib")" ] ||
    fail "the simulator's trace library goes before the platform's"
mv "$simulator" "$work/simulator"
status=0
tool kslctl status 2>"$work/log" >&2 || status=$?
[ "$status $(grep -c 'neither libhwa.so nor' "$work/log")" = "3 1" ] || fail "kslctl finds a hub where there is none"
mv "$work/simulator" "$simulator"
echo "no library at all" >"$root/usr/lib/libhwa.so"
tool kslctl --simulate mode >"$work/log" || fail "kslctl --simulate takes the platform's libhwa.so"
rm "$root/usr/lib/libhwa.so" "$root/usr/lib/libtrace_kbuf.so"

[ -z "$emulator" ] || {
    echo "package_test: the packages for $architecture serve a programmer"
    exit 0
}

# ---- What serves the programmer's own machine ----

if ! cmake -S . -B "$work/project" -G Ninja "-DCMAKE_PREFIX_PATH=$root/usr" >"$work/log" 2>&1 ||
    ! cmake --build "$work/project" >>"$work/log" 2>&1; then
    cat "$work/log" >&2
    fail "a project with find_package(ksl) is not built"
fi
run "$work/project/status" | cmp - "$work/status" || fail "the project's status is another program"
sed -n 's/^set(PACKAGE_VERSION "\(.*\)")/\1/p' "$root"/usr/lib/cmake/ksl/kslConfigVersion.cmake | grep -qx "$version" ||
    fail "the CMake package has another version than the others"

run python3 status.py >"$work/links" || fail "status.py fails"
sed 's/\(up\|down\).*/\1/' "$work/status" | cmp - "$work/links" || fail "status.py shows other links than status"

sh "$top/tests/completion_test.sh" "$root/usr"
echo "package_test: the packages for $architecture serve a programmer"
