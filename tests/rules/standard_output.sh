#!/bin/sh
# Fails if any but two sources of the library write to standard output. Comments do not count.
set -eu
cd "$1"
calls='stdout|\bv?printf *\(|\bputs *\(|\bputchar *\(|\bcout\b'
calls="$calls|STDOUT_FILENO|\b(write|v?dprintf|f?d?open) *\( *1\b|\bq(Debug|Info|Warning|Critical) *\("
writers=$(grep -E "$calls" osrelease/*.[ch]* inistore/*.[ch]* xml/*.[ch]* console/*.[ch]* |
    grep -Ev '^[^:]*: *//' | cut -d: -f1 | sort -u | tr '\n' ' ')
expected='console/console.cpp osrelease/prerequisites.cpp '
[ "$writers" = "$expected" ] || { echo "expected $expected"; echo "     got $writers"; exit 1; }
