#!/bin/sh
# Fails when a source of the library names a way to standard output, but for the two that are there for it.
set -eu
cd "$1"
ways='stdout|[^f]printf *\(|\bf?puts *\(|\bputchar *\(|\bcout\b|STDOUT_FILENO|\bq(Debug|Info|Warning|Critical) *\('
talkers=$(grep -lE "$ways" osrelease/*.cpp inistore/*.cpp xml/*.cpp console/*.cpp | sort | tr '\n' ' ')
expected='console/console.cpp osrelease/prerequisites.cpp '
[ "$talkers" = "$expected" ] || { echo "expected $expected"; echo "     got $talkers"; exit 1; }
