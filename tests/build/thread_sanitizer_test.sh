#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The tests build without the thread sanitizer where a compiler has none, as those for 32-bit machines.
#     thread_sanitizer_test.sh CMAKE COMPILER MODULE_FOLDER
set -eu
cmake=$1
compiler=$2
modules=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cat >"$work/CMakeLists.txt" <<'EOF'
cmake_minimum_required(VERSION 3.25)
project(sanitizers LANGUAGES CXX)
include(KslSanitizers)
file(WRITE ${CMAKE_BINARY_DIR}/found ${KSL_THREAD_SANITIZER})
EOF
cat >"$work/without" <<EOF
#!/bin/sh
case " \$* " in
*' -fsanitize=thread '*)
    echo 'cannot find -ltsan' >&2
    exit 1
    ;;
esac
exec $compiler "\$@"
EOF
chmod +x "$work/without"

# expect ON|OFF COMPILER
expect() {
    rm -rf "$work/build"
    "$cmake" -S "$work" -B "$work/build" -G Ninja -DCMAKE_MODULE_PATH="$modules" -DCMAKE_CXX_COMPILER="$2" \
        >"$work/log" 2>&1 || {
        cat "$work/log" >&2
        exit 1
    }
    [ "$(cat "$work/build/found")" = "$1" ] || {
        echo "the thread sanitizer is $(cat "$work/build/found") with $2, and should be $1" >&2
        exit 1
    }
}
expect ON "$compiler"
expect OFF "$work/without"
