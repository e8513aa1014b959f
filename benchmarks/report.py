#!/usr/bin/env python3
"""Writes the tables of docs/benchmarks.md and its picture: report.py FIGURES.json FIDELITY.json DOCS"""
import collections
import json
import pathlib
import re
import sys

SIZES = {1_000: "1 KB", 4_000: "4 KB", 10_000: "10 KB", 60_000: "60 KB", 100_000: "100 KB", 835_000: "835 KB",
         2_000_000: "2 MB", 10_000_000: "10 MB"}
# The smallest acceptable ratio of another library's time to INIStore's.
RATIOS = {
    "load/inih/4000": 1.1, "load/SimpleIni/4000": 1.3, "load/GKeyFile/4000": 1.5, "load/inih/835000": 1.4,
    "load/SimpleIni/835000": 2.6, "load/GKeyFile/835000": 2.0, "load/inih/10000000": 0.6, "lookup/SimpleIni/4000": 1.3,
    "edit/SimpleIni/4000": 1.5, "write/SimpleIni/835000": 4, "write/GKeyFile/835000": 2}
KINDS = {"continued": "continued", ";": "with a `;`", "#": "with a `#`", "repeated": "repeated", "quoted": "quoted",
         "empty": "empty", "no value": "without a value"}
VERDICTS = {"kept": "only the value changed", "changed": "other bytes changed", "misread": "misread by the owner",
            "refused": "refused"}
TOOLS = ["zk_settings", "crudini", "augtool", "git config", "kwriteconfig5"]
BY_NAME = ["zk_settings --dialect", "zk_settings", "zk_settings, file.txt"]
STYLE = """
svg { font: 13px system-ui, sans-serif; } .title { font-weight: 600; } .back { fill: #fff; } text { fill: #1f2328; }
.kept { fill: #1a7f37; } .changed { fill: #d4a72c; } .misread { fill: #cf222e; } .refused { fill: #d0d7de; }
@media (prefers-color-scheme: dark) {
  .back { fill: #0d1117; } text { fill: #e6edf3; }
  .kept { fill: #3fb950; } .changed { fill: #bb8009; } .misread { fill: #f85149; } .refused { fill: #484f58; }
}"""


def table(heads, rows):
    lines = [heads, ["---"] * len(heads), *rows]
    return "\n".join("| " + " | ".join(str(cell) for cell in line) + " |" for line in lines)


def duration(seconds):
    unit, factor = next((unit, 1e-3 ** i) for i, unit in enumerate(("s", "ms", "µs", "ns"))
                        if seconds >= 1e-3 ** i or unit == "ns")
    return f"{seconds / factor:.3g} {unit}"


def multiple(value):
    return f"{value:,.0f}" if value >= 100 else f"{value:.2f}" if value >= 0.005 else "< 0.01"


def percent(count, total):
    return f"{100 * count / total:.1f} %" if total else ""


def by_size(times, question, ours):
    """Returns a row for each size: our time, and the ratios of the other times to it."""
    names = dict.fromkeys(name.split("/")[1] for name in times if name.startswith(f"{question}/"))
    others = [who for who in names if who != ours]
    rows = [[text, duration(own / 1e9), *[multiple(times[f"{question}/{who}/{size}"] / own) for who in others]]
            for size, text in SIZES.items() if (own := times.get(f"{question}/{ours}/{size}"))]
    return table(["size", f"{ours}, time", *others], rows)


def targets(figures):
    rows = []

    def at_most(what, limit, figure, show="{:.3g}".format, unit=""):
        rows.append([what, f"at most {show(limit)}{unit}", f"{show(figure)}{unit}",
                     "met" if figure <= limit else "**missed**"])

    for name, least in RATIOS.items():
        question, peer, size = name.split("/")
        ratio = figures["settings"][name] / figures["settings"][f"{question}/INIStore/{size}"]
        rows.append([f"{question} {SIZES[int(size)]}: time, {peer} to INIStore", f"at least {least}", multiple(ratio),
                     "met" if ratio >= least else "**missed**"])
    counts, xml, tool, large = (figures[name] for name in ("instructions", "xml", "tools", "large"))
    millions = (counts["INIStore::Open"] + counts["INIStore::~INIStore"]) / 1e6
    at_most("load and release 835 KB: instructions", 22, millions, unit=" M")
    at_most("load 835 KB: bytes held per byte of the file", 5.5, figures["held"]["load/INIStore/835000"])
    slowest = max(time for name, time in xml.items() if name.startswith("first element, first/KQXml/"))
    at_most("first element, first, any size: time", 1e-6, slowest / 1e9, duration)
    for tag in ("last", "absent"):
        extra = max(xml[f"first element, {tag}/KQXml/{size}"] - xml[f"first element, {tag}/Qt/{size}"]
                    for size in (1_000, 10_000))
        at_most(f"first element, {tag}, up to 10 KB: time above Qt's list", 1.5e-6, extra / 1e9, duration)
    at_most("extraction, 835 KB: instructions, ratio to the bare reader", 1.05,
            counts["KQXml::ExtractElement"] / counts["documents::bareReader"])
    at_most("`zk_settings set`, 835 KB: time", 20e-3, tool["zk_settings"]["835000"], duration)
    at_most("`zk_settings set`, 100 MB: memory per byte of the file", 6, large["100 MB"][2] / large["100 MB"][0])
    ten, hundred = (large[name][1] / large[name][0] for name in ("10 MB", "100 MB"))
    at_most("`zk_settings set`: time per byte, 100 MB to 10 MB", 1.5, hundred / ten)
    return table(["what", "target", "measured", ""], rows)


def verdicts(edits, wanted=None):
    """Returns the counts of the verdicts by candidate, for all edits or for an owner or a kind of key."""
    found = collections.defaultdict(collections.Counter)
    for name, count in edits["verdicts"].items():
        owner, kind, who, verdict = name.split("|")
        if wanted in (None, owner, kind):
            found[who][verdict] += count
    return found


def fidelity(edits):
    """Returns a row for each candidate: refused, bytes kept, and read correctly, for plain and for awkward keys."""
    by_kind = {kind: verdicts(edits, kind) for kind in ("plain", "awkward")}
    heads = [f"{kind}: {what}" for kind, found in by_kind.items() for what in
             (f"refused, of {found['INIStore'].total():,}", "bytes kept", "read correctly by the owner")]
    rows = [[who, *[cell for count in (found[who] for found in by_kind.values())
                    for accepted in [count.total() - count["refused"]]
                    for cell in (count["refused"], percent(count["kept"], accepted),
                                 percent(count["kept"] + count["changed"], accepted))]]
            for who in by_kind["plain"]]
    return table(["", *heads], rows)


def owners(edits):
    """Returns a row for each owner: how many edits it misreads and how many were refused, by tool."""
    names = [*BY_NAME, "crudini", "git config", "augtool"]
    by_owner = {owner: verdicts(edits, owner) for owner in edits["files"]} | {"all": verdicts(edits)}
    files = edits["files"] | {"all": sum(edits["files"].values())}
    rows = [[owner, files[owner], found["INIStore"].total(),
             *[f"{found[who]['misread']}, {found[who]['refused']}" for who in names]]
            for owner, found in by_owner.items()]
    accepted = [percent(count.total() - count["refused"], count.total())
                for count in (by_owner["all"][who] for who in names)]
    return table(["owner", "files", "edits", *names], [*rows, ["accepted", "", "", *accepted]])


def picture(edits):
    """Returns an SVG with a stacked bar for each candidate: the tools, then the libraries."""
    found = verdicts(edits)
    total, y, parts = found["INIStore"].total(), 26, []
    for verdict, text in VERDICTS.items():
        parts += [f'<rect class="{verdict}" x="8" y="{y}" width="14" height="14"/>',
                  f'<text x="28" y="{y + 12}">{text}</text>']
        y += 19
    for title, names in (("Tools", TOOLS), ("Libraries", found.keys() - {*TOOLS, *BY_NAME})):
        parts.append(f'<text class="title" x="8" y="{y + 20}">{title}</text>')
        y += 28
        for who in sorted(names, key=lambda who: (-found[who]["kept"], who)):
            x, weight = 140, ' class="title"' * (who in ("zk_settings", "INIStore"))
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
    lines, marks = edits["lines"], {"kept": "✓", "changed": "✗", "refused": "–"}
    kinds = ", ".join(f"{lines.get(kind, 0):,} {text}" for kind, text in KINDS.items())
    return {
        "machine": figures["machine"], "fidelity": fidelity(edits), "owners": owners(edits),
        "counted": f"{sum(edits['files'].values()):,} files of {edits['packages']} Debian packages have "
                   f"{lines['lines']:,} lines with a key. {lines['awkward']:,} of them are awkward: {kinds}.",
        "awkward": table(["", *next(iter(edits["awkward"].values()))], [
            [name, *[marks[verdict] for verdict in by_who.values()]] for name, by_who in edits["awkward"].items()]),
        "targets": targets(figures),
        "tools": table(["tool", "4 KB, time", "835 KB, time"], [
            [who, *map(duration, times.values())] for who, times in figures["tools"].items()]),
        "large": table(["file", "time", "time per MB", "memory"], [
            [name, duration(seconds), duration(seconds * 1e6 / size), f"{used / 1e6:,.0f} MB"]
            for name, (size, seconds, used) in figures["large"].items()]),
        "held": table(["", "bytes"], [[name.split("/")[1], f"{held:.2f}"] for name, held in figures["held"].items()
                                      if name.endswith("/835000") and "/inih/" not in name]),
        **{re.sub(r"\W+", "-", question): by_size(figures[which], question, ours)
           for which, ours in (("settings", "INIStore"), ("xml", "KQXml"))
           for question in {name.split("/")[0] for name in figures[which]}}}


def main():
    figures, edits = (json.loads(pathlib.Path(path).read_text()) for path in sys.argv[1:3])
    docs, made = pathlib.Path(sys.argv[3]), tables(figures, edits)
    page = re.sub(r"(<!-- table (\S+) -->\n).*?(?=<!-- end -->)", lambda match: f"{match[1]}\n{made[match[2]]}\n\n",
                  (docs / "benchmarks.md").read_text(), flags=re.DOTALL)
    (docs / "benchmarks.md").write_text(page)
    (docs / "fidelity.svg").write_text(picture(edits))


if __name__ == "__main__":
    main()
