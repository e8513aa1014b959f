#!/usr/bin/env python3
"""Compares what the library's work takes in instructions with the kept figures: counts.py BUILD [--renew]

The C library and Qt pick their fastest code for the processor, so counts differ between machines. What is kept is the
ratio to the plain model's count for the same work in the same run; of the extraction, what both take over the bare
reader loop, which takes nearly all. So a change of the models in tests/ asks for new figures as well.
"""
import pathlib
import sys

import callgrind

KEPT = pathlib.Path(__file__).with_name("counts.txt")
MARGIN = 1.03
WORK = [("settings", "store", 4_000, ("load", "look-up", "write")),
        ("settings", "store", 835_000, ("load", "look-up", "edit", "write")),
        ("xml", "helpers", 10_000, ("extraction",)), ("xml", "helpers", 1_000_000, ("extraction",))]


def measured(program):
    """The ratio by step and size."""
    ratios = {}
    for kind, candidate, size, steps in WORK:
        ours = callgrind.steps(program, kind, candidate, 0, size)
        model = callgrind.steps(program, kind, "plain model", 0, size)
        reader = callgrind.steps(program, kind, "Qt", 0, size) if kind == "xml" else {}
        for step in steps:
            ratios[f"{step} {size}"] = (ours[step] - reader.get(step, 0)) / (model[step] - reader.get(step, 0))
    return ratios


def main():
    ratios = measured(pathlib.Path(sys.argv[1]) / "benchmarks/benchmark_costs")
    if sys.argv[2:] == ["--renew"]:
        KEPT.write_text("".join(f"{name} {ratio:.5f}\n" for name, ratio in ratios.items()))
        return 0
    kept = {name: float(ratio) for name, ratio in
            (line.rsplit(" ", 1) for line in KEPT.read_text().splitlines())}
    grown = [name for name, ratio in ratios.items() if ratio > kept[name] * MARGIN]
    shrunk = [name for name, ratio in ratios.items() if ratio < kept[name] / MARGIN]
    for name, ratio in ratios.items():
        verdict = "  GREW" if name in grown else "  SHRANK" if name in shrunk else ""
        print(f"{name:20} {ratio:.5f}, kept {kept[name]:.5f}{verdict}")
    if grown:
        print("More instructions than before. If that is meant: scripts/counts --renew")
    elif shrunk:
        print("Fewer instructions than before. Keep what was won: scripts/counts --renew")
    return 1 if grown or shrunk else 0


if __name__ == "__main__":
    sys.exit(main())
