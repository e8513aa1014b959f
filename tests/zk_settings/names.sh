#!/bin/bash
# Checks that help, manual page and completion name the same commands, options and dialects, and that the completion
# works in a shell on a terminal: names.sh PROGRAM SOURCE_DIR SCRATCH_DIR
set -eu
program=$1 source=$2 scratch=$3
rm -rf "$scratch"
mkdir -p "$scratch/home"
cd "$scratch"

"$program" --help >help
"$program" -h | diff help -
"$program" help | diff help -
if grep -E '.{81}' help; then exit 1; fi
sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p' help | LC_ALL=C sort >commands
sed -n 's/^  \(--[-a-z]*\) .*/\1/p' help | LC_ALL=C sort >options
sed -n 's/^Dialects: //p' help | grep -o '[a-z]*' | LC_ALL=C sort >dialects
[ "$(cat commands options dialects | wc -l)" -eq 22 ] || { cat commands options dialects; exit 1; }

page=$source/zk_settings.1.scd
section() { sed -n "/^# $1/,/^# $2/p" "$page"; }
bold() { sed -nE 's/^\*(zk_settings )?([-a-z]+)\*.*/\2/p' | LC_ALL=C sort; }
section SYNOPSIS DESCRIPTION | bold | diff commands -
section COMMANDS OPTIONS | bold | diff commands -
section OPTIONS DIALECTS | bold | diff options -
section DIALECTS SAFETY | sed -nE 's/^(\|  \*)?([a-z]+)(\*$|  .*)/\2/p' | LC_ALL=C sort | uniq -c |
    sed 's/^ *3 //' | diff dialects - # each is in three tables

# The shell gets the keys that are typed, and keeps each line as a comment in its history, with what was completed.
tab=$'\t' all=$'\e*' # all: inserts what TAB would offer
expect() {
    printf 'zk_settings %s\e#' "$1" >>typed
    printf '#zk_settings %s\n' "$2" >>expected
}
names() { paste -sd ' ' "$1"; }
echo ". '$source/completion.bash'" >typed

expect "$all" "$(names commands) "
expect "se$tab" 'set '
expect "--v$tab" '--version '
expect "get --$all" "get $(names options) "
expect "set -$tab" 'set --'
expect "set --no$tab" 'set --no-lock '
expect "get --dialect $all" "get --dialect $(names dialects) "
expect "get --dialect=py$tab" 'get --dialect=python '
expect "bogus x y $tab" 'bogus x y '

printf 'top=1\n[a b]\nKey=1\nkind=2\nother=3\n[net]\nport=1\n' >a.ini
printf '[Desktop Entry]\nName=a\nName[de]=b\nExec=c\n' >home/b@1.desktop
printf '[url "git@host:"]\n\tinsteadOf = x\n\tquick\n' >git=1
mkfifo pipe
expect "get a.i$tab$all" "get a.ini '' a\\ b net "
expect "get a.ini a$tab$all" 'get a.ini a\ b Key kind other '
expect "get a.ini a\\ $tab" 'get a.ini a\ b '
expect "get a.ini a\\ b k$tab" 'get a.ini a\ b kind '
expect "get a.ini \"a$tab" 'get a.ini "a b" '
expect "get a.ini \"a b\" k$tab" 'get a.ini "a b" kind '
expect "get a.ini a\" $tab" 'get a.ini a" '
expect "get a.ini 'a$tab" "get a.ini 'a b' "
expect "get a.ini 'a b' k$tab" "get a.ini 'a b' kind "
expect "list a.ini '' $tab" "list a.ini '' "
expect "get a.ini '' $tab" "get a.ini '' top "
expect "set a.ini net p${tab}8 p${tab}9 p$tab" 'set a.ini net port 8 port 9 port '
expect "set a.ini net port a.$tab" 'set a.ini net port a.ini '
expect "remove --wait 3 --create a.ini n${tab}p$tab" 'remove --wait 3 --create a.ini net port '
expect "get ~/b$tab" "get ~/b\\@1.desktop " # so does bash itself
expect "get ~/b@1.desktop D${tab}E$tab" 'get ~/b@1.desktop Desktop\ Entry Exec '
expect "get ~/b@1.desktop D${tab}Name\\[$tab" 'get ~/b@1.desktop Desktop\ Entry Name\[de\] '
expect "get git=1 u${tab}i$tab" 'get git=1 url\ \"git@host:\" insteadOf '
expect "get git=1 \"u${tab}i$tab" 'get git=1 "url \"git@host:\"" insteadOf '
expect "get git=1 'url \"git@h${tab}i$tab" "get git=1 'url \"git@host:\"' insteadOf "
expect "get git=1 url\\ \\\"git@h${tab}i$tab" 'get git=1 url\ \"git@host:\" insteadOf '
expect "get git=1 u${tab}q$tab" 'get git=1 url\ \"git@host:\" quick '
expect "get --dialect=store git=1 u${tab}q$tab" 'get --dialect=store git=1 url\ \"git@host:\" q'
expect "get --dialect store git=1 u${tab}q$tab" 'get --dialect store git=1 url\ \"git@host:\" q'
expect "get missing a.$tab" 'get missing a.'
expect "get pipe $tab" 'get pipe '
echo exit >>typed

HISTFILE=$PWD/history HOME=$PWD/home PATH=$(dirname "$program"):$PATH LC_ALL=C TERM=dumb \
    script -qec 'bash --norc --noprofile -i' /dev/null <typed >screen
grep '^#' history | diff expected - || { cat screen; exit 1; }
