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
PACKAGES = """augeas-tools crudini g++ git libboost-dev libglib2.0-dev libinih-dev libiniparser-dev libkf5config-bin
libsimpleini-dev libwxgtk3.2-dev libxml2-dev mariadb-client-core php8.2-cli python3 qt6-base-dev""".split()


def output(*command):
    # GLib's slice allocator would hide allocations. On some processors Qt 6.4 leaves the AVX registers in use after it
    # hashes with a seed, which slows down all later SSE code of the process.
    environment = {**os.environ, "TMPDIR": "/dev/shm", "G_SLICE": "always-malloc", "QT_HASH_SEED": "0"}
    return subprocess.run(command, env=environment, stdout=subprocess.PIPE, text=True, check=True).stdout


def lower_quartile(values):
    return statistics.quantiles(values, n=4)[0]


def times(rows):
    """Returns nanoseconds by question, library and size: CPU time, or wall-clock time for writing."""
    found = collections.defaultdict(list)
    for row in rows:
        found[row["name"]].append(row["real_time" if row["name"].startswith("write/") else "cpu_time"])
    return {name: lower_quartile(values) for name, values in found.items()}


def own_process(program):
    """Measures each library in its own process. In each round, every library has one turn."""
    names = output(program, "--benchmark_list_tests").split("\n")[:-1]
    libraries = list(dict.fromkeys(name.split("/")[1] for name in names))
    return [row for _ in range(ROUNDS) for who in libraries for row in json.loads(output(
        program, f"--benchmark_filter=^[^/]*/{who}/", "--benchmark_min_time=0.01", "--benchmark_format=json"
    ))["benchmarks"]]


def lines(size):
    """Generates a file of about this size, as benchmarks/benchmarks.h does."""
    for i in range(size // 37):
        if i % 40 == 0:
            yield f"[section{i // 40:04}]\n"
        yield "; on the next option\n" * (i % 5 == 0) + f"option{i % 40:02} = value of section{i // 40:04}\n"


def run(text, *command):
    """Returns the size of the file, and the seconds and the bytes of memory that a command needs to edit it."""
    # The text is not in memory at once, because the memory of this process counts as the command's.
    with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
        path = pathlib.Path(folder, "settings")
        with path.open("w", encoding="utf-8") as file:
            file.writelines(itertools.chain(text, ["[last]\nkey = old\n"]))
        size, start = path.stat().st_size, time.perf_counter()
        process = subprocess.Popen([path if word == "FILE" else word for word in command])
        _, status, usage = os.wait4(process.pid, 0)
        if status:
            sys.exit(f"failed: {command}")
        return size, time.perf_counter() - start, usage.ru_maxrss * 1024


def tools(build):
    """Returns the seconds of each tool by size, and for large files the size, the seconds and the memory."""
    edits = {"zk_settings": [build / "tools/zk_settings", "set", "FILE", "last", "key", "new"],
             "crudini": ["crudini", "--set", "FILE", "last", "key", "new"],
             "git config": ["git", "config", "--file", "FILE", "last.key", "new"]}
    large = {"1 MB": lambda: lines(1_000_000), "10 MB": lambda: lines(10_000_000), "100 MB": lambda: lines(100_000_000),
             "10 MB of short lines": lambda: itertools.chain(["[short]\n"], itertools.repeat("a=1\n", 2_500_000)),
             "64,000 spaces before a `=`": lambda: ["[wide]\nkey", " " * 64_000, "= 1\n"]}
    taken = collections.defaultdict(lambda: collections.defaultdict(list))
    for size, _, name in itertools.product((4_000, 835_000), range(ROUNDS), edits):
        taken[name][size].append(run(lines(size), *edits[name])[1])
    return {"tools": {name: {size: lower_quartile(seconds) for size, seconds in by_size.items()}
                      for name, by_size in taken.items()},
            "large": {name: [min(column) for column in zip(*(run(text(), *edits["zk_settings"]) for _ in range(3)))]
                      for name, text in large.items()}}


def machine():
    cpu = re.findall(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    packages = output("dpkg-query", "-W", "-f=${Package} ${Version}, ", *PACKAGES).removesuffix(", ")
    return f"{cpu[0]}, {len(cpu)} cores; {platform.freedesktop_os_release()['PRETTY_NAME']}; {packages}."


def main():
    build, target = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})
    rows = own_process(build / "benchmarks/benchmark_inistore")
    figures = {"machine": machine(), "settings": times(rows),
               "xml": times(own_process(build / "benchmarks/benchmark_xml")),
               "held": {row["name"]: row["held"] for row in rows if "held" in row},
               "instructions": counts.instructions(build, 835_000), **tools(build)}
    target.write_text(json.dumps(figures, indent=1))


if __name__ == "__main__":
    main()
