#!/bin/sh
# Builds the code of docs/guide.md against the installed library, with the guide's own CMakeLists.txt, and runs it:
# guide.sh SOURCE_DIR PREFIX SCRATCH_DIR COMPILER
set -eu
source=$1 prefix=$2 scratch=$3 compiler=$4
guide=$(find "$prefix" -name guide.md) # as a developer gets it

rm -rf "$scratch"
mkdir -p "$scratch/tasks" "$scratch/bin" "$scratch/run"
awk -v out="$scratch" -f "$source/tests/package/guide.awk" "$guide"

cd "$scratch"
build() {
    { cmake -S . -B build -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_SKIP_RPATH=ON &&
        cmake --build build; } >log 2>&1 || { cat log; exit 1; }
}
LD_LIBRARY_PATH=$(dirname "$(find "$prefix" -name libkqsupport.so)")
export LD_LIBRARY_PATH

# The complete program creates the file and then reads it.
build
cd run
printf 'The port was 80\nThe port was 8080\n' >../expected
{ ../build/port && ../build/port; } | diff ../expected -
printf '[Net]\nPort = 8080\n' | diff - app.ini
cd ..

# One package is installed and no other.
# shellcheck disable=SC2016
printf '#!/bin/sh\ncase $* in *binutils) echo "install ok installed" ;; *) exit 1 ;; esac\n' >bin/dpkg-query
chmod +x bin/dpkg-query
PATH=$scratch/bin:$PATH
cp tasks.cpp main.cpp
build
fail() { echo "guide: task $task: $1"; exit 1; }
run() { # runs the task on standard input as app.ini
    rm -rf run
    mkdir run
    cat >run/file
    chmod 640 run/file
    ln -s file run/app.ini
    cp app.xml run
    (cd run && ../build/port --distrib debian "$task") >said
    [ "$(stat -c %a run/file)" = 640 ] || fail "it does not keep the mode"
    [ -L run/app.ini ] || fail "it does not keep the link"
}
count=$(find tasks -type f | wc -l)
[ "$count" -ge 12 ] || { echo "guide: only $count tasks"; exit 1; }
for task in $(seq "$count"); do
    run <app.ini
    for file in app.ini app.xml; do
        diff -U99 $file run/$file | sed 1,3d >>said
    done
    diff "tasks/$task" said || fail "it prints or changes something else"
    cp run/app.ini after.ini
    # The same edit of the same file with other line endings.
    sed 's/$/\r/' app.ini | run
    sed 's/$/\r/' after.ini | cmp - run/app.ini || fail "wrong with CR LF"
    printf %s "$(cat app.ini)" | run
    [ "$(cat run/app.ini)" = "$(cat after.ini)" ] || fail "wrong without a line ending at the end"
done
