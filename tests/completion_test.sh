#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# What the shells themselves make of the installed completions. tests/tools/cases/completion.cases has what the tools
# answer.
#     completion_test.sh PREFIX
set -eu
PATH=$1/bin:$PATH
share=$1/share
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "completion_test: $1" >&2
    exit 1
}

# Each takes the words of a line, and prints what it offers for the last one.
mkdir "$work/files"
touch "$work/files/XKSL.kbuf"
cat >"$work/complete.bash" <<'END'
. "$1/bash-completion/completions/$2"
compopt() { echo "compopt $*"; }
shift
COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
"_$1"
printf '%s\n' "${COMPREPLY[@]}"
END
cat >"$work/complete.zsh" <<'END'
_describe() { print -l -- "${(@)${(P)3}%%:*}" }
_files() { print files }
PREFIX=${@[-1]} words=("${@[2,-1]}") CURRENT=$(($# - 1))
. "$1/zsh/vendor-completions/_$2"
END
cat >"$work/complete.fish" <<'END'
source $argv[1]/fish/vendor_completions.d/$argv[2].fish
complete -C (string join ' ' -- $argv[2..-1]) | string replace -r '\t.*' ''
END
# shell_offers SHELL EXPECTED WORD...: whether the shell offers these words at the end of that line.
shell_offers() {
    shell=$1 expected=$2
    shift 2
    found=$(cd "$work/files" && HOME=$work $shell "$work/complete.$shell" "$share" "$@" 2>"$work/log" | paste -s -d ' ')
    [ "$found" = "$expected" ] || fail "$shell offers \"$found\" after \"$*\": $(cat "$work/log")"
}
offers() {
    for each in bash zsh fish; do
        shell_offers "$each" "$@"
    done
}
offers "show speed up down reset-phy info" kslctl port ""
offers "registers reset reg" kslctl re
offers "get set dump" kslctl --simulate reg ""
offers "2 20 21 22 23" kslctl --chip 0 port down 2
offers "10 100" kslctl port speed 3 ""
offers "--simulate" kslctl port show --si
offers "--openmetrics" kslctl mib --open
shell_offers bash "compopt -o default " kslctl validate pvid --expect ""
shell_offers zsh files kslctl validate pvid --expect ""
shell_offers fish XKSL.kbuf kslctl validate pvid --expect XK
# Without TRACE_KBUF_DIR there are only files.
shell_offers zsh files ksltrace show ""
mkdir -p "$work/traces/kslctl"
touch "$work/traces/XMORE.kbuf" "$work/traces/kslctl/XKSL.kbuf" "$work/traces/notes.txt"
export TRACE_KBUF_DIR="$work/traces"
shell_offers bash "compopt -o filenames XKSL XMORE XKSL.kbuf" ksltrace show ""
shell_offers bash "compopt -o filenames XMORE" ksltrace show XM
shell_offers zsh "files XKSL XMORE" ksltrace show ""
shell_offers fish "XKSL.kbuf XKSL" ksltrace stats XK
offers "ksl_reset_PHY ksl_reset_switch" ksltrace show X --operation ksl_reset
