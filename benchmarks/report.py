#!/usr/bin/env python3
"""Writes docs/benchmarks.md and its pictures from the kept figures: report.py FIGURES.json DOCS"""
import json
import pathlib
import sys

import matplotlib
import numpy

matplotlib.use("svg")
matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "kqsupport", "font.size": 9})
import matplotlib.pyplot  # noqa: E402

SIZES = {1_000: "1 KB", 4_000: "4 KB", 10_000: "10 KB", 30_000: "30 KB", 100_000: "100 KB", 200_000: "200 KB",
           835_000: "835 KB", 2_000_000: "2 MB", 10_000_000: "10 MB"}

STARTS = {"client": "client", "empty_core": "empty, with Qt Core", "empty_xml": "empty, with Qt Core and Xml"}


class Times:
    """Nanoseconds by question, candidate and size."""

    def __init__(self, figures):
        self.of = {}
        for name, time in figures.items():
            question, who, size = name.rsplit("/", 2)
            self.of.setdefault(question, {}).setdefault(who, {})[int(size)] = time

    def ratio(self, question, size, other, ours):
        """How many times our time the other takes."""
        return self.of[question][other][size] / self.of[question][ours][size]


def duration(nanoseconds):
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= factor:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def multiple(value):
    return f"{value:.2f}" if value >= 0.005 else "< 0.005"


def slope(value):
    return f"{round(value, 2) + 0.0:.2f}"  # the sum has no -0.00


def table(heads, rows):
    lines = ["| " + " | ".join(heads) + " |", "|" + "---|" * len(heads)]
    return "\n".join(lines + ["| " + " | ".join(str(cell) for cell in row) + " |" for row in rows]) + "\n"


def ratios(times, question, ours):
    """A row for each size: our time, and how many times that the others take."""
    others = [who for who in times.of[question] if who != ours]
    rows = []
    for size, own in sorted(times.of[question][ours].items()):
        cells = [multiple(times.ratio(question, size, who, ours)) if size in times.of[question][who] else ""
                 for who in others]
        rows.append([SIZES[size], duration(own), *cells])
    return table(["size", ours, *others], rows)


def picture(times, questions, ours, path):
    """Time by size, a frame for each question, both axes logarithmic."""
    figure, frames = matplotlib.pyplot.subplots(1, len(questions), figsize=(3.1 * len(questions), 3.4))
    names = list(dict.fromkeys(who for question in questions for who in times.of[question]))
    for frame, question in zip(frames, questions):
        for who, by_size in times.of[question].items():
            sizes = sorted(by_size)
            frame.loglog(sizes, [by_size[size] / 1e3 for size in sizes], label=who, color=f"C{names.index(who) % 10}",
                         linewidth=3.5 if who == ours else 1, linestyle="-" if names.index(who) < 10 else "--",
                         alpha=0.6 if who == ours else 1)
        frame.set_title(question)
        frame.set_xlabel("bytes of document")
        frame.grid(True, which="major", linewidth=0.3)
    frames[0].set_ylabel("microseconds")
    handles = {label: handle for frame in frames for handle, label in zip(*frame.get_legend_handles_labels())}
    figure.legend(handles.values(), handles.keys(), loc="lower center", ncol=6, frameon=False)
    figure.tight_layout(rect=(0, 0.13, 1, 1))
    figure.savefig(path, metadata={"Date": None})


def check_picture(checks, path):
    """A bar for each way to run the commands, a group for each family."""
    figure, frame = matplotlib.pyplot.subplots(figsize=(6.2, 2.8))
    ways = {"check": 1, **next(iter(checks.values()))["ratios"]}
    for place, way in enumerate(ways):
        times = [check["seconds"] * 1e3 * check["ratios"].get(way, 1) for check in checks.values()]
        frame.bar([group + place / (len(ways) + 1) for group in range(len(checks))], times, width=1 / (len(ways) + 1),
                  label=way, align="edge")
    frame.set_xticks([group + len(ways) / (len(ways) + 1) / 2 for group in range(len(checks))], list(checks))
    frame.set_ylabel("milliseconds")
    frame.legend(frameon=False, ncol=len(ways), loc="lower center", bbox_to_anchor=(0.5, 1))
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})


def exponent(by_size):
    """The slope of the logarithm of the count over that of the size: 1 is linear, 0 does not depend on it."""
    sizes = sorted(by_size, key=int)
    return numpy.polyfit(numpy.log([int(size) for size in sizes]), numpy.log([by_size[size] for size in sizes]), 1)[0]


def exponents(growth):
    """By shape and step."""
    return {shape: {step: exponent({size: steps[step] for size, steps in by_size.items()})
                    for step in next(iter(by_size.values()))} for shape, by_size in growth.items()}


def instruction_table(counts, size, ours, steps):
    def cell(who, step):
        count = counts[who][size].get(step)
        return "" if count is None else f"{count:,} ({multiple(count / counts[ours][size][step])})"
    return table(["", *steps], [[who, *[cell(who, step) for step in steps]] for who in counts])


def goals(figures, settings, xml):
    """What the library is meant to reach: the goal, the figure, and whether it holds."""
    counts, xml_counts = figures["counts"], figures["xml counts"]["helpers"]
    qt_counts = figures["xml counts"]["Qt"]
    rows = []

    def goal(text, figure, holds):
        rows.append([text, figure, "holds" if holds else "**missed**"])

    def at_most(text, value, limit):
        goal(text, f"{value:.2f}", value <= limit)

    def at_least(text, value, limit):
        goal(text, f"{value:,.0f}" if value >= 100 else f"{value:.1f}", value >= limit)

    for size in (4_000, 835_000):
        slowest = max(settings.ratio("load", size, "store", who) for who in
                      settings.of["load"] if who not in ("store", "inih") and size in settings.of["load"][who])
        at_most(f"load {SIZES[size]}: faster than every other that keeps what it reads", slowest, 0.999)
    at_most("load 835 KB: at most 1.25 times inih, which keeps nothing",
            settings.ratio("load", 835_000, "store", "inih"), 1.25)
    for question in ("look-up", "edit"):
        at_most(f"{question} in 4 KB: no slower than SimpleIni",
                settings.ratio(question, 4_000, "store", "SimpleIni"), 1)
    for question in ("look-up", "edit"):
        scan = settings.of["look-up"]["plain scan"][835_000]
        at_least(f"{question} in 835 KB: 5 times faster than a plain scan for the key",
                 scan / settings.of[question]["store"][835_000], 5)
    at_most("write 835 KB: at most 2 times one write of the same bytes",
            settings.ratio("write", 835_000, "store", "one write"), 2)
    at_least("first element of 2 MB, at the front: 1,000 times faster than Qt's list",
             xml.ratio("first element, first", 2_000_000, "Qt", "helpers"), 1000)
    for step in ("last", "absent"):
        for size in ("1000", "10000", "2000000"):
            at_most(f"first element of {SIZES[int(size)]}, {step}: no more instructions than Qt's list",
                    xml_counts[size][step] / qt_counts[size][step], 1)
    for step in ("all elements", "all texts"):
        at_most(f"{step} of 2 MB: no more instructions than the loop over Qt's list",
                xml_counts["2000000"][step] / qt_counts["2000000"][step], 1)
    at_most("extraction from 2 MB: at most 1.05 times the instructions of the bare reader",
            xml_counts["2000000"]["extraction"] / qt_counts["2000000"]["extraction"], 1.05)
    worst = max(value for steps in exponents(figures["growth"]).values() for value in steps.values())
    at_most("cost grows linearly: no exponent above 1.1", worst, 1.1)
    for distrib, check in figures["check"].items():
        at_most(f"prerequisite check, {distrib}: at most 1.05 times a script that runs the same shells",
                1 / check["ratios"]["a shell for each"], 1.05)
    at_most("prerequisite check, all: at most 1.05 times a script whose own shell runs the commands",
            max(1 / check["ratios"]["one shell"] for check in figures["check"].values()), 1.05)
    return rows


def write(figures, docs):
    settings, xml = Times(figures["settings"]), Times(figures["xml"])
    counts, machine = figures["counts"], figures["machine"]
    picture(settings, ["load", "look-up", "edit", "write"], "store", docs / "benchmarks-settings.svg")
    picture(xml, ["first element, first", "first element, last", "all elements", "extraction, last"], "helpers",
            docs / "benchmarks-xml.svg")
    check_picture(figures["check"], docs / "benchmarks-check.svg")
    growth = exponents(figures["growth"])
    steps = list(growth["settings, ordinary"])
    xml_steps = list(growth["XML, wide"])
    made = figures["allocations"]
    loading = figures["loading"]
    start, begun = loading["seconds"], loading["instructions"]
    size = 835_000
    text = f"""# How fast it is

`scripts/bench` measures all of this anew and writes this page. Every candidate runs in processes of its own, in turns,
on one core. Up to the last two sections a time is the processor's (for writing, the clock's), the lower quartile over
{figures["rounds"]} rounds, since neighbours on the machine only ever add. The files lie in memory. A ratio is the
other's figure over ours: above 1, ours is smaller. Compare ratios, not times, and measure on a machine that does
nothing else.

{machine["processor"]}, {machine["cores"]} cores; {machine["system"]}, Linux {machine["kernel"]}; {machine["compiler"]}.
{", ".join(f"{package} {version}" for package, version in machine["packages"].items())}.

## What is meant to hold

{table(["goal", "figure", ""], goals(figures, settings, xml))}
Where the first element is late or absent, the walk that finds an early one comes on top of Qt's list: some nodes in a
hundred, and at least two, which tell in a document that has only some dozens. The check starts a shell for each query,
because `system` does; one shell that runs all queries takes less, as the table of the check shows.

## Settings files by size

Ordinary files: sections of 40 keys, a comment above every fifth, names of one length each. The key that is looked up
and edited is the last one in the file; the store scans for it, most others keep an index. The last section has 8 to 31
keys, as the size cuts it off, so a smaller file may take a little longer. inih calls back for each key and keeps none.
SimpleIni and wxFileConfig drop or move what they do not understand; GKeyFile refuses it, and reads the same
file with `#` for its comments. The store keeps every byte. iniparser would take minutes for the larger files. QSettings
writes only what has changed; Poco, INIReader and inih write nothing.

![time by size of a settings file](benchmarks-settings.svg)

How long does it take to load a file and let it go again?

{ratios(settings, "load", "store")}
At 10 MB the time grows faster than the work: the records no longer fit the processor's caches, and the allocator gives
their memory back to the system after each load and gets it anew for the next, page by page, which is a third of the
time.

How long to get the values of the last key?

{ratios(settings, "look-up", "store")}
How long to change them in memory?

{ratios(settings, "edit", "store")}
How long to write the file? GKeyFile writes a temporary file, asks the system to put it on the disk (here there is
none), and renames it; "one write" is a single system call with the same bytes.

{ratios(settings, "write", "store")}
## XML by size

![time by size of an XML document](benchmarks-xml.svg)

How long does the first element of a name take when it stands at the front, when it is the last, and when there is none?
Qt is `elementsByTagName(name).item(0)`.

{ratios(xml, "first element, first", "helpers")}
{ratios(xml, "first element, last", "helpers")}
{ratios(xml, "first element, absent", "helpers")}
And all elements of a name (a third of the document's), and their texts? Qt is the loop over its list.

{ratios(xml, "all elements", "helpers")}
{ratios(xml, "all texts", "helpers")}
How long to cut out the last element of a document, and its first? Qt is the bare QXmlStreamReader loop that finds the
end of the element and cuts nothing; pugixml builds a tree first. Qt's reader, and with it the helper, first decodes the
whole of its input, libxml2's a piece at a time.

{ratios(xml, "extraction, last", "helpers")}
{ratios(xml, "extraction, first", "helpers")}
## Instructions

As callgrind counts them, with the ratio to ours; these repeat to a few in a thousand. Settings of 4 KB:

{instruction_table(counts, "4000", "store", ["load", "look-up", "edit", "write", "release"])}
Settings of 835 KB:

{instruction_table(counts, "835000", "store", ["load", "look-up", "edit", "write", "release"])}
XML of 2 MB:

{instruction_table(figures["xml counts"], "2000000", "helpers",
                   ["first", "last", "absent", "all elements", "all texts", "extraction"])}
## Allocations and memory

For 835 KB: allocations of a load, of a look-up, an edit and a write, and the bytes held for each byte of the document
after the load, without those that the allocator needs itself. The store makes three allocations for a line with a key
(bytes, key, value), one for any other line, and three and more for a section (bytes, name, list of lines); what is
thrown away costs none.

{table(["", "load", "look-up", "edit", "write", "bytes held per byte"],
       [[who, *[f"{steps_[step][0]:,}" if step in steps_ else "" for step in ("load", "look-up", "edit", "write")],
         f"{steps_['load'][1] / size:.2f}"] for who, steps_ in made.items()])}
## Growth

The exponent of the instructions over the size, fitted over four sizes, each twice the one before, up to 10 MB (which
is over 100,000 keys or sections; for XML up to 2 MB wide and 100 KB deep, since Qt's parser is slow on deep ones): 1 is
linear, 0 does not depend on the size.

{table(["settings", *steps], [[shape.split(", ", 1)[1], *[slope(value[step]) for step in steps]]
                              for shape, value in growth.items() if shape.startswith("settings")])}
{table(["XML", *xml_steps], [[shape.split(", ", 1)[1], *[slope(value[step]) for step in xml_steps]]
                             for shape, value in growth.items() if shape.startswith("XML")])}
## The prerequisite check

With an empty program in place of each package tool (and of `grep`), so that only starting them is left: one check
beside a script that hands the same commands to a shell each, as the check does, one whose own shell runs them all, and
a C++ program that does nothing but hand them to `system`. Times are by the clock, ratios the medians over
{figures["command rounds"]} rounds, without the start of the program or the script itself.

![one check beside the same commands run by shells](benchmarks-check.svg)

{table(["family", "commands", "check", *next(iter(figures["check"].values()))["ratios"]],
       [[distrib, check["packages"], duration(check["seconds"] * 1e9),
         *[f"{ratio:.2f}" for ratio in check["ratios"].values()]]
        for distrib, check in figures["check"].items()])}
## Loading the library

| | |
|---|---|
| size on disk, stripped | {loading["bytes"]:,} bytes |
| relocations | {loading["relative"]} relative, {loading["symbolic"]} symbolic |
| initialisers run at loading, of `INIStore::s_newline` | {loading["initialisers"]} |

From the start to the end of a small client and of empty programs, by the clock (the lower quartile over
{figures["command rounds"]} rounds) and in instructions, the loader's among them, with how many times theirs the client
takes. The library, and so the client, loads Qt Xml as well.

{table(["", "time", "client", "instructions", "client"],
       [[what, duration(start[name] * 1e9), multiple(start["client"] / start[name]), f"{begun[name]:,}",
         multiple(begun["client"] / begun[name])] for name, what in STARTS.items()])}"""
    (docs / "benchmarks.md").write_text(text)


def main():
    write(json.loads(pathlib.Path(sys.argv[1]).read_text()), pathlib.Path(sys.argv[2]))


if __name__ == "__main__":
    main()
