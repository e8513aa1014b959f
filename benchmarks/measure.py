#!/usr/bin/env python3
"""Measures the library beside what a user would otherwise pick and keeps the figures: measure.py BUILD FIGURES.json

Every candidate runs in processes of its own, in turns, so that neither a busy minute nor another's heap counts for one
alone; what is kept is the lower quartile over the rounds, since neighbours only ever add. The settings files lie in
memory: a disk's own time to cut a file short would hide what is measured.
"""
import collections
import json
import os
import pathlib
import platform
import re
import shlex
import shutil
import statistics
import sys
import tempfile

import callgrind
from process import output

ROUNDS = 9
SECONDS = 0.01  # the least time for each figure of a round
COMMAND_ROUNDS = 75
CHECKS = 10  # in one process
MEMORY = "/dev/shm"
SHAPES = ["ordinary", "one section", "sections of one key", "equal keys", "one long line"]
PACKAGES = ["libglib2.0-dev", "libsimpleini-dev", "libinih-dev", "libiniparser-dev", "libpoco-dev", "libwxgtk3.2-dev",
            "libpugixml-dev", "libxml2-dev", "qt6-base-dev", "libbenchmark-dev", "valgrind", "hyperfine"]


def lower_quartile(values):
    return statistics.quantiles(values, n=4)[0]


def machine():
    cpu = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    versions = {package: output("dpkg-query", "-W", "-f=${Version}", package) for package in PACKAGES}
    return {"processor": cpu.group(1) if cpu else platform.machine(), "cores": os.cpu_count(),
            "system": platform.freedesktop_os_release()["PRETTY_NAME"], "kernel": platform.release(),
            "compiler": output("c++", "--version").splitlines()[0], "packages": versions}


def times(program):
    """Nanoseconds by question, candidate and size: of the processor, and for writing by the clock."""
    names = [line for line in output(program, "--benchmark_list_tests").splitlines() if line]
    candidates = list(dict.fromkeys(name.split("/")[1] for name in names))
    rounds = collections.defaultdict(list)
    for turn in range(ROUNDS):
        for candidate in candidates[turn % len(candidates):] + candidates[:turn % len(candidates)]:
            result = json.loads(output(program, f"--benchmark_filter=^[^/]*/{candidate}/",
                                       f"--benchmark_min_time={SECONDS}", "--benchmark_format=json", TMPDIR=MEMORY))
            for row in result["benchmarks"]:
                rounds[row["name"]].append(row["real_time" if row["name"].startswith("write/") else "cpu_time"])
    return {name: lower_quartile(values) for name, values in rounds.items()}


def counts(program, kind, candidates, sizes):
    """Instructions by candidate, size and step."""
    return {candidate: {size: callgrind.steps(program, kind, candidate, 0, size) for size in sizes}
            for candidate in candidates}


def allocations(program, candidates, size):
    """Allocations and bytes left allocated, by candidate and step."""
    def of(candidate):
        # GLib's slices would hide what it cuts them into.
        printed = output(program, "settings", candidate, 0, size, G_SLICE="always-malloc")
        rows = [line.rsplit(" ", 2) for line in printed.splitlines()]
        return {step: [int(made), int(held)] for step, made, held in rows}
    return {candidate: of(candidate) for candidate in candidates}


def growth(program):
    """Instructions by shape, size and step."""
    def sizes(largest):
        return [largest // 8, largest // 4, largest // 2, largest]

    figures = {}
    for shape, name in enumerate(SHAPES):
        by_size = {size: callgrind.steps(program, "settings", "store", shape, size) for size in sizes(10_000_000)}
        figures[f"settings, {name}"] = by_size
    for shape, name in enumerate(["wide", "deep"]):
        largest = 2_000_000 if name == "wide" else 100_000
        by_size = {size: callgrind.steps(program, "xml", "helpers", shape, size) for size in sizes(largest)}
        figures[f"XML, {name}"] = by_size
    return figures


def hyperfine(commands, **environment):
    """Seconds by name, for each round, in which the commands take turns."""
    rounds = collections.defaultdict(list)
    with tempfile.TemporaryDirectory() as folder:
        result = os.path.join(folder, "result.json")
        for turn in range(COMMAND_ROUNDS):
            for name, command in list(commands.items())[::1 if turn % 2 else -1]:
                output("hyperfine", "--shell=none", "--runs=1", "--style=none", f"--export-json={result}", command,
                       **environment)
                rounds[name].append(json.loads(pathlib.Path(result).read_text())["results"][0]["mean"])
    return rounds


QUERIES = {
    "debian": ("dpkg-query", "dpkg-query -W -f='${Status}' %s 2>/dev/null | grep -q 'ok installed'"),
    "fedora": ("rpm", "rpm -q --quiet %s >/dev/null 2>&1"),
    "suse": ("rpm", "rpm -q --quiet %s >/dev/null 2>&1"),
    "arch": ("pacman", "pacman -Qiq %s >/dev/null 2>&1"),
}


def asked_for(program, distrib, tools):
    """The packages that a check asks for when all are installed; each tool is given the package last."""
    asked = tools.parent / "asked"
    tool = tools / QUERIES[distrib][0]
    tool.write_text(f'#!/bin/sh\nfor package; do :; done\necho "$package" >>{asked}\necho install ok installed\n')
    tool.chmod(0o755)
    (tools / "grep").symlink_to(shutil.which("grep"))
    output(program, 1, "--distrib", distrib, PATH=str(tools))
    return asked.read_text().split()


def check(build, distrib):
    """Seconds for one check with every tool an empty program, and how many times that others take which run the same
    commands, compared within each round and without the start of each."""
    program, system, empty = (str(build / f"benchmarks/benchmark_{name}") for name in ("check", "system", "empty"))
    with tempfile.TemporaryDirectory() as folder:
        tools = pathlib.Path(folder, "tools")
        tools.mkdir()
        packages = asked_for(program, distrib, tools)
        tool, query = QUERIES[distrib]
        for name in (tool, "grep"):
            (tools / name).unlink()
            shutil.copy(empty, tools / name)

        own, each = pathlib.Path(folder, "own"), pathlib.Path(folder, "each")
        queries = [query % package for package in packages] * CHECKS
        own.write_text("".join(line + "\n" for line in queries))
        each.write_text("".join(f"sh -c {shlex.quote(line)}\n" for line in queries))
        commands = {"check": (f"{program} {CHECKS} --distrib {distrib}", f"{program} 0"),
                    "a shell for each": (f"/bin/sh {each}", "/bin/sh /dev/null"),
                    "one shell": (f"/bin/sh {own}", "/bin/sh /dev/null"),
                    "a loop over system": (f"{system} {own}", f"{system} /dev/null")}
        rounds = hyperfine({(name, part): command for name, parts in commands.items()
                            for part, command in zip(("whole", "start"), parts)},
                           PATH=f"{tools}:{os.environ['PATH']}")
        taken = {name: [whole - start for whole, start in zip(rounds[name, "whole"], rounds[name, "start"])]
                 for name in commands}
        ratios = {name: statistics.median(other / ours for other, ours in zip(taken[name], taken["check"]))
                  for name in commands if name != "check"}
        return {"packages": len(packages), "seconds": statistics.median(taken["check"]) / CHECKS, "ratios": ratios}


def loading(build):
    """What the library itself costs a program that starts."""
    library = build / "libkqsupport.so"
    with tempfile.TemporaryDirectory() as folder:
        stripped = pathlib.Path(folder) / "stripped"
        output("strip", "-o", stripped, library)
        size = stripped.stat().st_size
    programs = {name: str(build / "benchmarks" / f"benchmark_{name}") for name in ("empty_core", "empty_xml", "client")}
    compilers_own = 1  # frame_dummy
    relocations = output("readelf", "-W", "-r", library)
    return {"bytes": size, "relative": relocations.count("R_X86_64_RELATIVE"),
            "symbolic": len(re.findall(r"R_X86_64_(?!RELATIVE)", relocations)),
            "initialisers": int(re.search(r"\.init_array\s+INIT_ARRAY\s+\w+ \w+ (\w+)",
                                          output("readelf", "-W", "-S", library)).group(1), 16) // 8 - compilers_own,
            "seconds": {name: lower_quartile(seconds) for name, seconds in hyperfine(programs).items()},
            "instructions": {name: callgrind.whole(program) for name, program in programs.items()}}


def main():
    build, target = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})
    programs = build / "benchmarks"
    costs = programs / "benchmark_costs"
    figures = {"machine": machine(), "rounds": ROUNDS, "command rounds": COMMAND_ROUNDS}
    figures["settings"] = times(programs / "benchmark_inistore")
    figures["xml"] = times(programs / "benchmark_xml")
    candidates = list(dict.fromkeys(name.split("/")[1] for name in figures["settings"] if name.startswith("load/")))
    figures["counts"] = counts(costs, "settings", [c for c in candidates if c != "iniparser"], (4_000, 835_000))
    figures["xml counts"] = counts(costs, "xml", ["helpers", "Qt", "pugixml", "libxml2"],
                                  (1_000, 10_000, 2_000_000))
    figures["allocations"] = allocations(programs / "benchmark_allocations",
                                         [c for c in candidates if c not in ("iniparser", "inih")], 835_000)
    figures["growth"] = growth(costs)
    figures["check"] = {distrib: check(build, distrib) for distrib in QUERIES}
    figures["loading"] = loading(build)
    target.write_text(json.dumps(figures, indent=1))


if __name__ == "__main__":
    main()
