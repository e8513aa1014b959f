#!/usr/bin/env python3
"""Measures the library beside its peers: measure.py BUILD FIGURES.json

A time is the lower quartile over the rounds, because other work on the machine only ever adds. The settings files are
in memory, so that no disk is measured.
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
SECONDS = 0.01  # at least, for each figure of a round
PACKAGES = ["libglib2.0-dev", "libsimpleini-dev", "libinih-dev", "libiniparser-dev", "libboost-dev",
            "libwxgtk3.2-dev", "libxml2-dev", "qt6-base-dev"]


def output(*command):
    # GLib's slices would hide what is allocated. On some processors Qt 6.4 leaves the AVX registers in use when it
    # hashes with a seed, and all SSE code that follows in the process takes longer.
    environment = {**os.environ, "TMPDIR": "/dev/shm", "G_SLICE": "always-malloc", "QT_HASH_SEED": "0"}
    return subprocess.run(command, env=environment, stdout=subprocess.PIPE, text=True, check=True).stdout


def benchmark(program, *options):
    """The rows that Google Benchmark reports."""
    printed = output(program, *options, f"--benchmark_min_time={SECONDS}", "--benchmark_format=json")
    return [row for row in json.loads(printed)["benchmarks"] if row["run_type"] == "iteration"]


def lower_quartiles(rows):
    """Nanoseconds by question, candidate and size: of the processor, and for writing by the clock."""
    times = collections.defaultdict(list)
    for row in rows:
        times[row["run_name"]].append(row["real_time" if row["name"].startswith("write/") else "cpu_time"])
    return {name: statistics.quantiles(values, n=4)[0] for name, values in times.items()}


def own_process(program):
    """Each candidate in a process of its own; the candidates take turns."""
    names = output(program, "--benchmark_list_tests").split("\n")[:-1]
    candidates = list(dict.fromkeys(name.split("/")[1] for name in names))
    return [row for _ in range(ROUNDS) for who in candidates
            for row in benchmark(program, f"--benchmark_filter=^[^/]*/{who}/")]


def shared_process(program):
    """All candidates and sizes in one process, in turns, so that each finds the heap as the others leave it."""
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
