#!/usr/bin/env python3
"""Measures the library and others: measure.py BUILD FIGURES.json

A time is the lower quartile of the rounds, because other work on the machine only makes it longer. The settings files
are in memory, so that the disk does not count.
"""
import collections
import json
import os
import pathlib
import platform
import re
import statistics
import subprocess
import sys

import counts

ROUNDS = 9
SECONDS = 0.01  # at least, for each measurement
PACKAGES = ["libglib2.0-dev", "libsimpleini-dev", "libinih-dev", "libiniparser-dev", "libboost-dev",
            "libwxgtk3.2-dev", "libxml2-dev", "qt6-base-dev"]


def output(*command):
    # GLib's slice allocator would hide allocations. On some processors Qt 6.4 leaves the AVX registers in use after it
    # hashes with a seed, which slows down all later SSE code of the process.
    environment = {**os.environ, "TMPDIR": "/dev/shm", "G_SLICE": "always-malloc", "QT_HASH_SEED": "0"}
    return subprocess.run(command, env=environment, stdout=subprocess.PIPE, text=True, check=True).stdout


def benchmark(program, *options):
    """Returns the rows that Google Benchmark reports."""
    printed = output(program, *options, f"--benchmark_min_time={SECONDS}", "--benchmark_format=json")
    return [row for row in json.loads(printed)["benchmarks"] if row["run_type"] == "iteration"]


def lower_quartiles(rows):
    """Returns nanoseconds by question, candidate and size: CPU time, or wall-clock time for writing."""
    times = collections.defaultdict(list)
    for row in rows:
        times[row["run_name"]].append(row["real_time" if row["name"].startswith("write/") else "cpu_time"])
    return {name: statistics.quantiles(values, n=4)[0] for name, values in times.items()}


def own_process(program):
    """Measures each candidate in its own process. In each round, every candidate has one turn."""
    names = output(program, "--benchmark_list_tests").split("\n")[:-1]
    candidates = list(dict.fromkeys(name.split("/")[1] for name in names))
    return [row for _ in range(ROUNDS) for who in candidates
            for row in benchmark(program, f"--benchmark_filter=^[^/]*/{who}/")]


def shared_process(program):
    """Measures all candidates and sizes in one process, in random order: each finds the heap as the others leave it."""
    return benchmark(program, "--benchmark_filter=^load/", f"--benchmark_repetitions={ROUNDS}",
                     "--benchmark_enable_random_interleaving=true")


def machine():
    cpu = re.findall(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    system = platform.freedesktop_os_release()["PRETTY_NAME"]
    versions = output("dpkg-query", "-W", "-f=${Package} ${Version}, ", *PACKAGES).removesuffix(", ")
    return f"{cpu[0]}, {len(cpu)} cores; {system}; {output('c++', '--version').splitlines()[0]}; {versions}"


def main():
    build, target = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    settings, xml = build / "benchmarks/benchmark_inistore", build / "benchmarks/benchmark_xml"
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})
    rows = own_process(settings)
    shared = lower_quartiles(shared_process(settings))
    figures = {"machine": machine(), "rounds": ROUNDS, "settings": lower_quartiles(rows),
               "held": {row["run_name"]: row["held"] for row in rows if "held" in row},
               "used heap": {row["run_name"]: shared[row["run_name"]] for row in rows if row["run_name"] in shared},
               "xml": lower_quartiles(own_process(xml)),
               "instructions": counts.instructions(build, 835_000)}
    target.write_text(json.dumps(figures, indent=1))


if __name__ == "__main__":
    main()
