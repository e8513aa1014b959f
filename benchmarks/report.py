#!/usr/bin/env python3
"""Writes the tables of docs/benchmarks.md and its picture: report.py FIGURES.json FIDELITY.json DOCS"""
import collections
import json
import pathlib
import re
import sys

SIZES = {1_000: "1 KB", 4_000: "4 KB", 10_000: "10 KB", 60_000: "60 KB", 100_000: "100 KB", 835_000: "835 KB",
         2_000_000: "2 MB", 10_000_000: "10 MB"}
# The question, the heap, the size, and for each peer the smallest acceptable ratio of its time to ours.
RATIOS = [
    ("load", "used heap", 4_000, {"inih": 1.1, "SimpleIni": 1.3, "GKeyFile": 1.5}),
    ("load", "used heap", 835_000, {"inih": 1.4, "SimpleIni": 2.6, "GKeyFile": 2.0}),
    ("load", "settings", 835_000, {"inih": 0.9}),
    ("load", "settings", 10_000_000, {"inih": 0.6}),
    ("lookup", "settings", 4_000, {"SimpleIni": 1.3}),
    ("edit", "settings", 4_000, {"SimpleIni": 1.5}),
    ("write", "settings", 835_000, {"SimpleIni": 4, "GKeyFile": 2})]
VERDICTS = {"kept": "only the value changed", "changed": "other bytes changed", "misread": "misread by the owner",
            "refused": "refused"}
TOOLS = ["zk_settings", "crudini", "augtool", "git config", "kwriteconfig5"]
OURS = ["zk_settings", "INIStore"]
STYLE = """
svg { font: 13px system-ui, sans-serif; }
.title { font-weight: 600; }
.back { fill: #fff; } text { fill: #1f2328; }
.kept { fill: #1a7f37; } .changed { fill: #d4a72c; } .misread { fill: #cf222e; } .refused { fill: #d0d7de; }
@media (prefers-color-scheme: dark) {
  .back { fill: #0d1117; } text { fill: #e6edf3; }
  .kept { fill: #3fb950; } .changed { fill: #bb8009; } .misread { fill: #f85149; } .refused { fill: #484f58; }
}"""


def table(heads, rows):
    lines = ["| " + " | ".join(heads) + " |", "|" + "---|" * len(heads)]
    return "\n".join(lines + ["| " + " | ".join(str(cell) for cell in row) + " |" for row in rows])


def duration(seconds):
    unit, factor = next(((unit, factor) for unit, factor in (("s", 1), ("ms", 1e-3), ("µs", 1e-6))
                         if seconds >= factor), ("ns", 1e-9))
    return f"{seconds / factor:.3g} {unit}"


def multiple(value):
    return f"{value:,.0f}" if value >= 100 else f"{value:.2f}" if value >= 0.005 else "< 0.01"


def percent(count, total):
    return f"{100 * count / total:.1f} %" if total else ""


def by_size(times, question, ours):
    """Returns a row for each size: our time, and the ratios of the other times to it."""
    others = [name.split("/")[1] for name in times if name.startswith(f"{question}/")]
    others = [who for who in dict.fromkeys(others) if who != ours]
    rows = []
    for size, text in SIZES.items():
        if own := times.get(f"{question}/{ours}/{size}"):
            taken = [times.get(f"{question}/{who}/{size}") for who in others]
            rows.append([text, duration(own / 1e9), *[multiple(other / own) for other in taken]])
    return table(["size", f"{ours}, time", *others], rows)


def targets(figures):
    rows = []

    def add(what, limit, figure, is_met):
        rows.append([what, limit, figure, "met" if is_met else "**missed**"])

    for question, heap, size, peers in RATIOS:
        for peer, least in peers.items():
            ratio = figures[heap][f"{question}/{peer}/{size}"] / figures[heap][f"{question}/INIStore/{size}"]
            add(f"{question} {SIZES[size]}{', used heap' * (heap == 'used heap')}: time, {peer} to INIStore",
                f"at least {least}", multiple(ratio), ratio >= least)
    counts, xml, (size, seconds, bytes_used) = figures["instructions"], figures["xml"], figures["large"]["100 MB"]
    millions = (counts["INIStore::Open"] + counts["INIStore::~INIStore"]) / 1e6
    add("load and release 835 KB: instructions", "at most 22 M", f"{millions:.2f} M", millions <= 22)
    held = figures["held"]["load/INIStore/835000"]
    add("load 835 KB: bytes held per byte of the file", "at most 5.5", f"{held:.2f}", held <= 5.5)
    slowest = max(time for name, time in xml.items() if name.startswith("first element, first/KQXml/"))
    add("first element, first, any size: time", "under 1 µs", duration(slowest / 1e9), slowest < 1_000)
    for tag in ("last", "absent"):
        extra = max(xml[f"first element, {tag}/KQXml/{size}"] - xml[f"first element, {tag}/Qt/{size}"]
                    for size in (1_000, 10_000))
        add(f"first element, {tag}, up to 10 KB: time above Qt's list", "at most 1.5 µs", duration(extra / 1e9),
            extra <= 1_500)
    ratio = counts["KQXml::ExtractElement"] / counts["bareReader"]
    add("extraction, 835 KB: instructions, ratio to the bare reader", "at most 1.05", f"{ratio:.2f}", ratio <= 1.05)
    tool = figures["tools"]["zk_settings"]["835000"]
    add("`zk_settings set`, 835 KB: time", "at most 20 ms", duration(tool), tool <= 0.020)
    add("`zk_settings set`, 100 MB: memory per byte of the file", "at most 6", f"{bytes_used / size:.2f}",
        bytes_used <= 6 * size)
    ten = figures["large"]["10 MB"]
    add("`zk_settings set`: time per byte, 100 MB to 10 MB", "at most 1.5", f"{seconds / size / ten[1] * ten[0]:.2f}",
        seconds / size <= 1.5 * ten[1] / ten[0])
    return table(["what", "target", "measured", ""], rows)


def verdicts(edits, *wanted):
    """Returns the verdicts by candidate on the edits whose owner or kind of key is wanted."""
    found = collections.defaultdict(collections.Counter)
    for name, count in edits["verdicts"].items():
        owner, kind, who, verdict = name.split("|")
        if {owner, kind, *["all"]} & set(wanted):
            found[who][verdict] += count
    return found


def fidelity(edits):
    """Returns a row for each candidate: refused, bytes kept, and read correctly, for plain and for awkward keys."""
    by_kind = [verdicts(edits, kind) for kind in ("plain", "awkward")]
    heads = [f"{kind}: {what}" for kind, found in zip(("plain", "awkward"), by_kind)
             for what in (f"refused, of {found['INIStore'].total():,}", "bytes kept", "read correctly by the owner")]
    rows = []
    for who in by_kind[0]:
        cells = []
        for count in (found[who] for found in by_kind):
            accepted = count.total() - count["refused"]
            cells += [count["refused"], percent(count["kept"], accepted),
                      percent(count["kept"] + count["changed"], accepted)]
        rows.append([who, *cells])
    return table(["", *heads], rows)


def owners(edits):
    """Returns a row for each owner: how many edits are wrong and refused, by tool."""
    names = ["zk_settings --dialect", "zk_settings", "zk_settings, file.txt", "crudini", "git config", "augtool"]
    rows = []
    for owner in [*edits["files"], "all"]:
        found = verdicts(edits, owner)
        rows.append([owner, sum(edits["files"].values()) if owner == "all" else edits["files"][owner],
                     found["INIStore"].total(), *[f"{found[who]['misread']}, {found[who]['refused']}" for who in names]])
    rows.append(["accepted", "", "", *[percent(found[who].total() - found[who]["refused"], found[who].total())
                                       for who in names]])
    return table(["owner", "files", "edits", *names], rows)


def counted(edits):
    lines = edits["lines"]
    kinds = ", ".join(f"{kind} {lines.get(kind, 0):,}" for kind in
                      ("continued", "`;`", "`#`", "repeated", "quoted", "empty", "no value"))
    return (f"{sum(edits['files'].values())} files of {edits['packages']} Debian packages have "
            f"{sum(n for name, n in lines.items() if name.endswith('|lines')):,} lines with a key. "
            f"{sum(n for name, n in lines.items() if name.endswith('|awkward')):,} of them are awkward: {kinds}.")


def inputs(edits):
    names = list(next(iter(edits["awkward"].values())))
    marks = {"kept": "✓", "changed": "✗", "refused": "–"}
    return table(["", *names], [[name, *[marks[by_who[who]] for who in names]]
                                for name, by_who in edits["awkward"].items()])


def picture(edits):
    """Returns an SVG with a stacked bar for each candidate: tools first, then libraries."""
    found = {who: count for who, count in verdicts(edits, "all").items()
             if who not in ("zk_settings --dialect", "zk_settings, file.txt")}
    total, y, parts = found["INIStore"].total(), 26, []
    for verdict, text in VERDICTS.items():
        parts.append(f'<rect class="{verdict}" x="8" y="{y}" width="14" height="14"/><text x="28" y="{y + 12}">{text}</text>')
        y += 19
    for title, names in (("Tools", TOOLS), ("Libraries", [who for who in found if who not in TOOLS])):
        parts.append(f'<text class="title" x="8" y="{y + 20}">{title}</text>')
        y += 28
        for who in sorted(names, key=lambda who: -found[who]["kept"]):
            x, weight = 140, ' class="title"' * (who in OURS)
            parts.append(f'<text{weight} x="{x - 6}" y="{y + 13}" text-anchor="end">{who}</text>')
            for verdict in VERDICTS:
                width = 250 * found[who][verdict] / total
                parts.append(f'<rect class="{verdict}" x="{x:.1f}" y="{y + 1}" width="{width:.1f}" height="15"/>')
                x += width
            y += 20
    return "\n".join([f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 400 {y + 8}" width="520">',
                      f"<style>{STYLE}</style>", f'<rect class="back" width="400" height="{y + 8}" rx="6"/>',
                      f'<text class="title" x="8" y="18">{total:,} edits of real settings files</text>', *parts,
                      "</svg>", ""])


def tables(figures, edits):
    times, xml = figures["settings"], figures["xml"]
    tools, large = figures["tools"], figures["large"]
    return {
        "machine": figures["machine"], "counted": counted(edits), "fidelity": fidelity(edits), "owners": owners(edits),
        "awkward": inputs(edits), "targets": targets(figures),
        "tools": table(["tool", "4 KB, time", "835 KB, time"], [
            [who, *map(duration, by_size.values())] for who, by_size in tools.items()]),
        "large": table(["file", "time", "time per MB", "memory"], [
            [name, duration(seconds), duration(seconds * 1e6 / size), f"{used / 1e6:,.0f} MB"]
            for name, (size, seconds, used) in large.items()]),
        "load": by_size(times, "load", "INIStore"), "used-heap": by_size(figures["used heap"], "load", "INIStore"),
        "lookup": by_size(times, "lookup", "INIStore"), "edit": by_size(times, "edit", "INIStore"),
        "write": by_size(times, "write", "INIStore"),
        "held": table(["", "bytes"], [[name.split("/")[1], f"{value:.2f}"] for name, value in figures["held"].items()
                                      if name.endswith("/835000") and "/inih/" not in name]),
        **{question.replace(", ", "-").replace(" ", "-"): by_size(xml, question, "KQXml") for question in
           ("first element, first", "first element, last", "first element, absent", "extraction, first",
            "extraction, last")}}


def main():
    figures, edits = (json.loads(pathlib.Path(path).read_text()) for path in sys.argv[1:3])
    docs, made = pathlib.Path(sys.argv[3]), tables(figures, edits)
    page = (docs / "benchmarks.md").read_text()
    page = re.sub(r"(<!-- table (\S+) -->\n).*?(?=<!-- end -->)", lambda match: f"{match[1]}\n{made[match[2]]}\n\n",
                  page, flags=re.DOTALL)
    (docs / "benchmarks.md").write_text(page)
    (docs / "fidelity.svg").write_text(picture(edits))


if __name__ == "__main__":
    main()
