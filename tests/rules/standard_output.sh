#!/bin/sh
# Fails when a source of the library writes to standard output, except the two that must. Comments do not count.
set -eu
cd "$1"
ways='stdout|\bv?printf *\(|\bputs *\(|\bputchar *\(|\bcout\b'
ways="$ways|STDOUT_FILENO|\b(write|v?dprintf|f?d?open) *\( *1\b|\bq(Debug|Info|Warning|Critical) *\("
talkers=$(grep -E "$ways" osrelease/*.[ch]* inistore/*.[ch]* xml/*.[ch]* console/*.[ch]* |
    grep -Ev '^[^:]*: *//' | cut -d: -f1 | sort -u | tr '\n' ' ')
expected='console/console.cpp osrelease/prerequisites.cpp '
[ "$talkers" = "$expected" ] || { echo "expected $expected"; echo "     got $talkers"; exit 1; }
