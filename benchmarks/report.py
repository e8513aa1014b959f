#!/usr/bin/env python3
"""Writes docs/benchmarks.md and its picture: report.py FIGURES.json FIDELITY.json DOCS"""
import json
import pathlib
import sys

from fidelity import page as fidelity

SIZES = {1_000: "1 KB", 4_000: "4 KB", 10_000: "10 KB", 60_000: "60 KB", 100_000: "100 KB", 835_000: "835 KB",
         2_000_000: "2 MB", 10_000_000: "10 MB"}

SIMPLEINI = "SimpleIni, repeated keys"  # as the store keeps them

# The question, the heap, the size, and for each peer the smallest acceptable ratio of its time to ours.
SETTINGS_TARGETS = [
    ("load", "used heap", 4_000, {"inih": 1.1, SIMPLEINI: 1.3, "GKeyFile": 1.5}),
    ("load", "used heap", 835_000, {"inih": 1.4, SIMPLEINI: 2.6, "GKeyFile": 2.0}),
    ("load", "settings", 835_000, {"inih": 0.9}),
    ("load", "settings", 10_000_000, {"inih": 0.6}),
    ("lookup", "settings", 4_000, {SIMPLEINI: 1.3}),
    ("edit", "settings", 4_000, {SIMPLEINI: 1.5}),
    ("write", "settings", 835_000, {SIMPLEINI: 4, "GKeyFile": 2}),
]
HEAPS = {"used heap": ", used heap", "settings": ""}


def duration(nanoseconds):
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= factor:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def multiple(value):
    return f"{value:,.0f}" if value >= 100 else f"{value:.2f}" if value >= 0.005 else "< 0.01"


def by_size(times, question, ours):
    """Returns a row for each size: our time, and the ratios of the other times to it."""
    names = [name.split("/") for name in times]
    others = list(dict.fromkeys(who for asked, who, _ in names if asked == question and who != ours))
    rows = []
    for size, text in SIZES.items():
        own = times.get(f"{question}/{ours}/{size}")
        if own:
            taken = [times.get(f"{question}/{who}/{size}") for who in others]
            rows.append([text, duration(own), *["" if other is None else multiple(other / own) for other in taken]])
    return fidelity.table(["size", ours, *others], rows)


def targets(figures):
    rows = []

    def add(what, limit, figure, is_met):
        rows.append([what, limit, figure, "met" if is_met else "**missed**"])

    for question, heap, size, peers in SETTINGS_TARGETS:
        for peer, least in peers.items():
            times = figures[heap]
            ratio = times[f"{question}/{peer}/{size}"] / times[f"{question}/store/{size}"]
            add(f"{question} {SIZES[size]}{HEAPS[heap]}: {peer}", f"at least {least}", multiple(ratio), ratio >= least)
    counts, xml = figures["instructions"], figures["xml"]
    millions = (counts["INIStore::Open"] + counts["INIStore::~INIStore"]) / 1e6
    add("load and release 835 KB: instructions", "at most 22 M", f"{millions:.2f} M", millions <= 22)
    held = figures["held"]["load/store/835000"]
    add("load 835 KB: bytes held per byte of the file", "at most 4.6", f"{held:.2f}", held <= 4.6)
    slowest = max(time for name, time in xml.items() if name.startswith("first element, first/helpers/"))
    add("first element, first, any size", "under 1 µs", duration(slowest), slowest < 1_000)
    for tag in ("last", "absent"):
        extra = [xml[f"first element, {tag}/helpers/{size}"] - xml[f"first element, {tag}/Qt/{size}"]
                 for size in (1_000, 10_000)]
        add(f"first element, {tag}, up to 10 KB: time above Qt's list", "at most 1.5 µs",
            f"{max(extra) / 1e3:.2f} µs", max(extra) <= 1_500)
    ratio = counts["KQXml::ExtractElement"] / counts["bareReader"]
    add("extraction, 835 KB: instructions, ratio to the bare reader", "at most 1.05", f"{ratio:.2f}", ratio <= 1.05)
    return fidelity.table(["what", "target", "measured", ""], rows)


def memory(held, size):
    rows = [[name.split("/")[1], f"{value:.2f}"] for name, value in held.items() if name.endswith(f"/{size}")]
    return fidelity.table(["", "bytes"], [row for row in rows if row[0] != "inih"])


def page(figures, edits):
    times, xml = figures["settings"], figures["xml"]
    return f"""# Benchmarks

`scripts/bench` measures all of this and writes this page. Compare ratios, not times, and measure on an idle machine. A
ratio is the other library's figure divided by ours: above 1, ours is better. Qt's hash seed is 0.

{figures["machine"]}.

{fidelity.section(edits)}
## Performance targets

A row with the name of another library has a ratio. "Used heap" means that all libraries and sizes run in one process,
in turns, so that each finds the heap as the others leave it. Otherwise each library has its own process. SimpleIni
keeps repeated keys here, as the store does.

{targets(figures)}
## Settings files by size

The files have sections of 40 keys and a comment above every fifth key. Times are CPU times (for writing, wall-clock
times), the lower quartile of {figures["rounds"]} rounds. The files are in memory.

- inih calls a function for each key and keeps nothing.
- GKeyFile keeps comments. It does not accept `;`, so its file has `#` instead.
- iniparser takes too long for 10 MB.
- QSettings writes only after a change, so only its whole edit is measured, above. inih does not write.

Load a file and release it:

{by_size(times, "load", "store")}
The same on a used heap:

{by_size(figures["used heap"], "load", "store")}
Get the values of the last key. The store scans the file; most others keep an index:

{by_size(times, "lookup", "store")}
Change the value of the last key in memory:

{by_size(times, "edit", "store")}
Write the file. GKeyFile writes a temporary file and renames it:

{by_size(times, "write", "store")}
Memory held after loading 835 KB, per byte of the file:

{memory(figures["held"], 835_000)}
## XML by size

Find the first element with a name. The three tables are for a name that only the first element has, one that only the
last element has, and one that no element has. Qt is `elementsByTagName(name).item(0)`:

{by_size(xml, "first element, first", "helpers")}
{by_size(xml, "first element, last", "helpers")}
{by_size(xml, "first element, absent", "helpers")}
Extract the last element of a document (first table) and the first one (second table). Qt is a bare `QXmlStreamReader`
loop that only finds the element. Qt's reader decodes the whole input before it starts; libxml2's does not:

{by_size(xml, "extraction, last", "helpers")}
{by_size(xml, "extraction, first", "helpers")}"""


def main():
    figures, edits = (json.loads(pathlib.Path(path).read_text()) for path in sys.argv[1:3])
    docs = pathlib.Path(sys.argv[3])
    (docs / "benchmarks.md").write_text(page(figures, edits))
    (docs / "fidelity.svg").write_text(fidelity.picture(edits))


if __name__ == "__main__":
    main()
