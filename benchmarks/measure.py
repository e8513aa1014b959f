#!/usr/bin/env python3
"""Measures the library, the tool and others: measure.py BUILD FIGURES.json

A time is the lower quartile of the rounds, because other work on the machine only makes it longer. The files are in
memory, so that the disk does not count.
"""
import collections
import itertools
import json
import os
import pathlib
import platform
import re
import statistics
import subprocess
import sys
import tempfile
import time

import counts

ROUNDS = 9
SECONDS = 0.01  # at least, for each measurement
PROGRAMS = ["/usr/bin/python3", "crudini", "git", "augtool", "php"]
PACKAGES = ["g++", "libglib2.0-dev", "libsimpleini-dev", "libinih-dev", "libiniparser-dev", "libboost-dev",
            "libwxgtk3.2-dev", "libxml2-dev", "qt6-base-dev", "libkf5config-bin", "mariadb-client-core"]


def output(*command):
    # GLib's slice allocator would hide allocations. On some processors Qt 6.4 leaves the AVX registers in use after it
    # hashes with a seed, which slows down all later SSE code of the process.
    environment = {**os.environ, "TMPDIR": "/dev/shm", "G_SLICE": "always-malloc", "QT_HASH_SEED": "0"}
    return subprocess.run(command, env=environment, capture_output=True, text=True, check=True)


def benchmark(program, *options):
    """Returns the rows that Google Benchmark reports."""
    printed = output(program, *options, f"--benchmark_min_time={SECONDS}", "--benchmark_format=json").stdout
    return [row for row in json.loads(printed)["benchmarks"] if row["run_type"] == "iteration"]


def lower_quartile(values):
    return statistics.quantiles(values, n=4)[0]


def times(rows):
    """Returns nanoseconds by question, library and size: CPU time, or wall-clock time for writing."""
    found = collections.defaultdict(list)
    for row in rows:
        found[row["run_name"]].append(row["real_time" if row["name"].startswith("write/") else "cpu_time"])
    return {name: lower_quartile(values) for name, values in found.items()}


def own_process(program):
    """Measures each library in its own process. In each round, every library has one turn."""
    names = output(program, "--benchmark_list_tests").stdout.split("\n")[:-1]
    libraries = list(dict.fromkeys(name.split("/")[1] for name in names))
    return [row for _ in range(ROUNDS) for who in libraries
            for row in benchmark(program, f"--benchmark_filter=^[^/]*/{who}/")]


def shared_process(program):
    """Measures all libraries and sizes in one process, in random order: each finds the heap as the others leave it."""
    return benchmark(program, "--benchmark_filter=^load/", f"--benchmark_repetitions={ROUNDS}",
                     "--benchmark_enable_random_interleaving=true")


def lines(size):
    """Generates a file of about this size, as benchmarks/documents.h does."""
    for i in range(size // 37):
        if i % 40 == 0:
            yield f"[section{i // 40:04}]\n"
        yield "; on the next option\n" * (i % 5 == 0) + f"option{i % 40:02} = value of section{i // 40:04}\n"


def run(folder, text, *command):
    """Returns the size of a file with this text, and the seconds and the bytes of memory that a command needs to edit it.

    The text is an iterable, because the memory of this process counts as the command's.
    """
    path = pathlib.Path(folder, "settings")
    with path.open("w", encoding="utf-8") as file:
        file.writelines(text)
        file.write("[last]\nkey = old\n")
    size, start = path.stat().st_size, time.perf_counter()
    process = subprocess.Popen([path if word == "FILE" else word for word in command])
    _, status, usage = os.wait4(process.pid, 0)
    if status:
        sys.exit(f"failed: {command}")
    return size, time.perf_counter() - start, usage.ru_maxrss * 1024


def tools(build):
    """Returns the seconds of each tool by size, and for large files the size, the seconds and the memory."""
    zk_settings = [build / "tools/zk_settings", "set", "FILE", "last", "key", "new"]
    edits = {"zk_settings": zk_settings, "crudini": ["crudini", "--set", "FILE", "last", "key", "new"],
             "git config": ["git", "config", "--file", "FILE", "last.key", "new"]}
    large = {"1 MB": lambda: lines(1_000_000), "10 MB": lambda: lines(10_000_000), "100 MB": lambda: lines(100_000_000),
             "10 MB of short lines": lambda: itertools.chain(["[short]\n"], itertools.repeat("a=1\n", 2_500_000)),
             "10 MB in one line": lambda: itertools.chain(["[long]\nkey = "], itertools.repeat("x" * 99, 101_000), ["\n"]),
             "64,000 spaces before a `=`": lambda: ["[wide]\nkey", " " * 64_000, "= 1\n"]}
    with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
        taken = {name: {size: [] for size in (4_000, 835_000)} for name in edits}
        for size, name in [(size, name) for size in (4_000, 835_000) for _ in range(ROUNDS) for name in edits]:
            taken[name][size].append(run(folder, lines(size), *edits[name])[1])
        return ({name: {size: lower_quartile(seconds) for size, seconds in by_size.items()}
                 for name, by_size in taken.items()},
                {name: [min(column) for column in zip(*(run(folder, text(), *zk_settings) for _ in range(3)))]
                 for name, text in large.items()})


def machine():
    cpu = re.findall(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    printed = [output(program, "--version") for program in PROGRAMS]
    versions = [re.sub(r" *[(<].*", "", (done.stdout or done.stderr).split("\n")[0]) for done in printed]
    packages = output("dpkg-query", "-W", "-f=${Package} ${Version}, ", *PACKAGES).stdout.removesuffix(", ")
    system = platform.freedesktop_os_release()["PRETTY_NAME"]
    return f"{cpu[0]}, {len(cpu)} cores; {system}; {', '.join(versions)}; packages: {packages}."


def main():
    build, target = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    settings, xml = build / "benchmarks/benchmark_inistore", build / "benchmarks/benchmark_xml"
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})
    rows = own_process(settings)
    by_tool, large = tools(build)
    figures = {"machine": machine(), "settings": times(rows), "used heap": times(shared_process(settings)),
               "held": {row["run_name"]: row["held"] for row in rows if "held" in row}, "xml": times(own_process(xml)),
               "instructions": counts.instructions(build, 835_000), "tools": by_tool, "large": large}
    target.write_text(json.dumps(figures, indent=1))


if __name__ == "__main__":
    main()
