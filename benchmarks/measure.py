#!/usr/bin/env python3
"""Measures the library beside what a user would otherwise pick and keeps the figures: measure.py BUILD FIGURES.json

Every candidate runs in processes of its own, in turns, so that neither a busy minute nor another's heap counts for one
alone; what is kept is the median over the rounds.
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
import subprocess
import sys
import tempfile

import callgrind

ROUNDS = 9
SECONDS = 0.01  # the least time for each figure of a round
COMMAND_ROUNDS = 5
CHECKS = 40  # in one process, so that its start does not count
SHAPES = ["ordinary", "one section", "sections of one key", "equal keys", "one long line"]
PACKAGES = ["libglib2.0-dev", "libsimpleini-dev", "libinih-dev", "libiniparser-dev", "libpoco-dev", "libwxgtk3.2-dev",
            "libpugixml-dev", "libxml2-dev", "qt6-base-dev", "libbenchmark-dev", "valgrind", "hyperfine"]


def output(*command):
    return subprocess.run([str(c) for c in command], check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          text=True).stdout


def machine():
    cpu = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    versions = {}
    for package in PACKAGES:
        try:
            versions[package] = output("dpkg-query", "-W", "-f=${Version}", package)
        except (subprocess.CalledProcessError, FileNotFoundError):
            continue
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
                                       f"--benchmark_min_time={SECONDS}", "--benchmark_format=json"))
            for row in result["benchmarks"]:
                rounds[row["name"]].append(row["real_time" if row["name"].startswith("write/") else "cpu_time"])
    return {name: statistics.quantiles(values, n=4)[0] for name, values in rounds.items()}


def counts(program, kind, candidates, sizes):
    """Instructions by candidate, size and step."""
    return {candidate: {size: callgrind.steps(program, kind, candidate, 0, size) for size in sizes}
            for candidate in candidates}


def allocations(program, candidates, size):
    """Allocations and bytes left allocated, by candidate and step."""
    def of(candidate):
        rows = [line.rsplit(" ", 2) for line in output(program, "settings", candidate, 0, size).splitlines()]
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


def hyperfine(commands, environment, runs):
    """Seconds by name, the commands in turns."""
    rounds = collections.defaultdict(list)
    with tempfile.TemporaryDirectory() as folder:
        result = os.path.join(folder, "result.json")
        for _ in range(COMMAND_ROUNDS):
            for name, command in commands.items():
                subprocess.run(["hyperfine", "--shell=none", "--warmup=1", f"--runs={runs}", "--style=none",
                                "--ignore-failure", f"--export-json={result}", command], check=True,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env={**os.environ, **environment})
                rounds[name].append(json.loads(pathlib.Path(result).read_text())["results"][0]["median"])
    return {name: statistics.quantiles(values, n=4)[0] for name, values in rounds.items()}


QUERIES = {
    "debian": ("dpkg-query", "dpkg-query -W -f='${Status}' %s 2>/dev/null | grep -q 'ok installed'"),
    "fedora": ("rpm", "rpm -q --quiet %s >/dev/null 2>&1"),
    "arch": ("pacman", "pacman -Qiq %s >/dev/null 2>&1"),
}


def check(build, distrib):
    """Seconds for the check with every tool an empty program, and for a shell that runs the same commands."""
    tool, query = QUERIES[distrib]
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        tools = folder / "tools"
        tools.mkdir()
        asked = folder / "asked"
        (tools / tool).write_text(f'#!/bin/sh\nfor package; do :; done\necho "$package" >>{asked}\n'
                                  + "echo install ok installed\n")
        (tools / "grep").symlink_to(shutil.which("grep"))
        os.chmod(tools / tool, 0o755)
        program = str(build / "benchmarks/benchmark_check")
        # Every tool is given the package last.
        subprocess.run([program, "1", "--distrib", distrib], check=True, env={"PATH": str(tools)})
        packages = asked.read_text().split()
        for name in (tool, "grep"):
            (tools / name).unlink(missing_ok=True)
            shutil.copy(build / "benchmarks/benchmark_empty", tools / name)
        one_shell = folder / "one.sh"
        one_shell.write_text("".join(query % package + "\n" for package in packages) * CHECKS)
        shell_each = folder / "each.sh"
        shell_each.write_text("".join(f"sh -c {shlex.quote(query % package)}\n" for package in packages) * CHECKS)
        result = hyperfine({"library": f"{program} {CHECKS} --distrib {distrib}",
                            "a shell for each": f"/bin/sh {shell_each}", "one shell": f"/bin/sh {one_shell}"},
                           {"PATH": f"{tools}:{os.environ['PATH']}"}, runs=2)
        return {"packages": len(packages), **{name: seconds / CHECKS for name, seconds in result.items()}}


def loading(build):
    """What the library itself costs a program that starts."""
    library = build / "libkqsupport.so"
    with tempfile.TemporaryDirectory() as folder:
        stripped = pathlib.Path(folder) / "stripped"
        subprocess.run(["strip", "-o", stripped, library], check=True)
        size = stripped.stat().st_size
    programs = {name: str(build / "benchmarks" / f"benchmark_{name}") for name in ("empty_qt", "client")}
    relocations = output("readelf", "-W", "-r", library)
    return {"bytes": size, "relative": relocations.count("R_X86_64_RELATIVE"),
            "symbolic": len(re.findall(r"R_X86_64_(?!RELATIVE)", relocations)),
            "initialisers": int(re.search(r"\.init_array\s+INIT_ARRAY\s+\w+ \w+ (\w+)",
                                          output("readelf", "-W", "-S", library)).group(1), 16) // 8 - 1,
            "seconds": hyperfine(programs, {}, runs=30),
            "instructions": {name: callgrind.whole(program) for name, program in programs.items()}}


def main():
    build, target = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})
    programs = build / "benchmarks"
    costs = programs / "benchmark_costs"
    figures = {"machine": machine()}
    figures["settings"] = times(programs / "benchmark_inistore")
    figures["xml"] = times(programs / "benchmark_xml")
    candidates = list(dict.fromkeys(name.split("/")[1] for name in figures["settings"] if name.startswith("load/")))
    figures["counts"] = counts(costs, "settings", [c for c in candidates if c != "iniparser"], (4_000, 835_000))
    figures["xml counts"] = counts(costs, "xml", ["helpers", "Qt", "pugixml", "libxml2"], (10_000, 2_000_000))
    figures["allocations"] = allocations(programs / "benchmark_allocations",
                                         [c for c in candidates if c not in ("iniparser", "inih")], 835_000)
    figures["growth"] = growth(costs)
    figures["check"] = {distrib: check(build, distrib) for distrib in QUERIES}
    figures["loading"] = loading(build)
    target.write_text(json.dumps(figures, indent=1))


if __name__ == "__main__":
    main()
