#!/bin/bash
# Checks that help, manual page and completion name the same commands and options, and that the completion finds
# sections and keys: names.sh PROGRAM SOURCE_DIR SCRATCH_DIR
set -eu
program=$1 source=$2 scratch=$3
mkdir -p "$scratch"
cd "$scratch"

"$program" --help >help
{ sed -n '/^Commands:/,/^$/p' help; sed -n '/^Options:/,/^$/p' help; } | sed -n 's/^  \([-a-z]*\) .*/\1/p' | sort >names
[ "$(wc -l <names)" -eq 13 ] || { cat names; exit 1; }

sed -n '/^# COMMANDS/,/^# AMBIGUOUS/s/^\*\([-a-z]*\)\*.*/\1/p' "$source/zk_settings.1.scd" | sort | diff names -

compopt() { :; } # the real one works only during a completion
# shellcheck source=/dev/null
. "$source/completion.bash"
complete_words() {
    COMP_WORDS=(zk_settings "$@") COMP_CWORD=$# COMPREPLY=()
    _zk_settings "$program"
    [ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\n' "${COMPREPLY[@]}"
}
{ complete_words ''; complete_words --; } | sort | diff names -

printf 'top=1\n[a b]\nKey=1\nkind=2\nother=3\n' >f
expect() {
    expected=$1
    shift
    found=$(complete_words "$@" | paste -sd ' ')
    [ "$found" = "$expected" ] || { echo "$*: expected '$expected', found '$found'"; exit 1; }
}
expect 'set' s
expect '--force' set --f
expect '' set --output = x ''
expect "'' a\\ b" get f ''
expect 'a\ b' get --null f a
expect 'a\ b' set --wait 3 --output = o f a
expect 'top' get f '' ''
expect 'Key kind other' get f 'a b' ''
expect 'kind' get f 'a b' k
expect '' get missing ''
[ -p pipe ] || mkfifo pipe
expect '' get pipe ''
