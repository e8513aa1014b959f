"""The part of docs/benchmarks.md about edits of whole files, and its picture, from the figures of fidelity.py."""
import textwrap
from html import escape

MARKS = {"kept": "✓", "changed": "✗", "refused": "–"}
OURS = {"store": "this store", "zk_settings": "zk_settings (our tool)"}
SHOWN = {**OURS, "SimpleIni, repeated keys": "SimpleIni", "GKeyFile": "GKeyFile", "QSettings": "QSettings",
         "wxFileConfig": "wxFileConfig", "iniparser": "iniparser", "Boost.PropertyTree": "Boost.PropertyTree",
         "KConfig": "KConfig", "Python configparser": "Python configparser", "crudini": "crudini (tool)",
         "augtool": "augtool (tool)", "git config": "git config (tool)"}
STYLE = """
svg { font: 13px system-ui, sans-serif; }
.title { font-weight: 600; }
.back { fill: #fff; } text { fill: #1f2328; } .bar { fill: #afb8c1; } .ours { fill: #0969da; }
@media (prefers-color-scheme: dark) {
  .back { fill: #0d1117; } text { fill: #e6edf3; } .bar { fill: #484f58; } .ours { fill: #4493f8; }
}"""
WIDTH, LEFT, LONGEST, ROW = 400, 150, 172, 21


def panel(top, title, bars):
    """Returns the title and a bar for each name, and the bottom of the panel."""
    parts = [f'<text class="title" x="8" y="{top + 16}">{escape(title)}</text>']
    limit = max(length for _, length, _ in bars)
    for i, (name, length, label) in enumerate(bars):
        y, width = top + 26 + i * ROW, max(LONGEST * length / limit, 1)
        kind = "ours" if name in OURS.values() else ""
        parts += [f'<text x="{LEFT - 6}" y="{y + 14}" text-anchor="end">{escape(name)}</text>',
                  f'<rect class="bar {kind}" x="{LEFT}" y="{y + 2}" width="{width:.1f}" height="16"/>',
                  f'<text x="{LEFT + width + 5:.1f}" y="{y + 14}">{escape(label)}</text>']
    return parts, top + 26 + len(bars) * ROW + 12


def duration(seconds):
    if seconds is None:
        return "refused"
    for unit, factor in (("s", 1), ("ms", 1e-3)):
        if seconds >= factor:
            return f"{seconds / factor:.3g} {unit}"
    return f"{seconds * 1e6:.3g} µs"


def picture(figures):
    kept = {who: figures["real"][who].get("kept", 0) for who in SHOWN}
    seconds = {who: figures["seconds"]["835000"][who] for who in SHOWN}
    limit = 25 * seconds["store"]
    order = sorted(SHOWN, key=lambda who: -kept[who])

    def time_bar(who):
        is_cut = seconds[who] is None or seconds[who] > limit
        return SHOWN[who], limit if is_cut else seconds[who], duration(seconds[who]) + (" →" if is_cut else "")

    first, y = panel(4, f"Settings files kept byte for byte, of {figures['files']}",
                     [(SHOWN[who], kept[who], str(kept[who])) for who in order])
    second, height = panel(y, "Time to load, edit and write back 835 KB (→: bar cut)",
                           [time_bar(who) for who in order])
    size = f'viewBox="0 0 {WIDTH} {height}" width="{WIDTH * 1.3:.0f}"'
    return "\n".join([f'<svg xmlns="http://www.w3.org/2000/svg" {size}>', f"<style>{STYLE}</style>",
                      f'<rect class="back" width="{WIDTH}" height="{height}" rx="6"/>', *first, *second, "</svg>", ""])


def table(heads, rows):
    lines = ["| " + " | ".join(heads) + " |", "|" + "---|" * len(heads)]
    return "\n".join(lines + ["| " + " | ".join(str(cell) for cell in row) + " |" for row in rows]) + "\n"


def real_rows(figures):
    for who, counts in figures["real"].items():
        kept, changed, refused, meaning, extra = (counts.get(name, 0) for name in
                                                  ("kept", "changed", "refused", "meaning", "bytes"))
        accepted = kept + changed
        times = [duration(figures["seconds"][size][who]) for size in ("4000", "835000")]
        share = f"{100 * kept / accepted:.1f} %" if accepted else ""
        yield [who, kept, changed, refused, share, meaning, f"{extra:,}", *times]


def own_changes(edits):
    explained = [edit for edit in edits if edit.split(" = ")[1] in edit.split(" = ")[0]]
    shown = ", ".join(f"`{edit}`" for edit in sorted(set(explained)))
    return textwrap.fill(
        f"Edits in which this store changes more than the value: {len(edits)}. In {len(explained)} of them the key "
        f"contains the old value ({shown}), and `UpdateKey` replaces its first occurrence in the line.", 120)


def tool_verdicts(awkward):
    both = [tool for store, tool in zip(awkward["store"], awkward["zk_settings"]) if store == "changed"]
    return (f"Of these {len(both)} files, `zk_settings` keeps {both.count('kept')}, refuses {both.count('refused')} "
            f"and changes {both.count('changed')}.")


def section(figures):
    names = list(figures["awkward"])
    heads = ["", "kept", "changed", "refused", "kept of the accepted", "another meaning", "extra bytes", "4 KB",
             "835 KB"]
    marks = [[name, *[MARKS[figures["awkward"][who][i]] for who in names]] for i, name in enumerate(figures["inputs"])]
    return f"""## What an edit keeps

![files kept byte for byte, and the time of an edit](fidelity.svg)

Each candidate loads a file, changes one plain value and writes the file back. The result is compared with the same
file in which only the bytes of the value are replaced.

The {figures["files"]} files are settings files of {len(figures["packages"])} Debian packages. Each has a key with a
plain value below a header; `benchmarks/fidelity/files.py` lists the packages and has the rules. In each file the first,
the middle and the last such key is edited, each in a fresh copy: {figures["edits"]:,} edits.

- A file is **refused** if an edit was refused and left the file unchanged. It is **kept** if every edit changed only
  the value. Otherwise it is **changed**.
- A file has **another meaning** if, apart from the edit, this store or Python's configparser then reads other keys or
  values.
- **Extra bytes** are those that the edits inserted, deleted or replaced outside the value.
- A time is the lower quartile of nine edits of a generated file. For a tool it includes the start of the program.

{table(heads, real_rows(figures))}
Many candidates are not meant for all of these dialects. GKeyFile is for desktop files, git config for git's own files,
and a lens of augtool accepts only the format that it describes (the lens for the kind of file is tried first, then two
general ones). Libraries get the options that keep most: comments and translations for GKeyFile, repeated keys and no
byte-order mark for SimpleIni, the case of keys for configparser. QSettings refuses a file if its status is a format
error. Poco's INI class cannot write.

{own_changes(figures["real"]["store"]["edits"])}

### Awkward files

✓ kept, ✗ changed, – refused. `benchmarks/fidelity/awkward.py` has the bytes.

{table(["", *names], marks)}
Where this store does not keep every byte:

- **`#` after a value.** `#` does not start a comment, so the note is part of the value and is replaced with it.
- **`;` right after a value.** The character before the `;` belongs to the comment, so the value of `key=old;note` is
  `ol`, and the `d` stays.
- **An empty old value, or one that the key contains.** `UpdateKey` searches for the old value from the start of the
  line: `key=` becomes `newkey=`.
- **Bytes that are not UTF-8, a byte-order mark or a NUL on the edited line.** The line is encoded again from its
  decoded text. On other lines the first two are kept.
- **A NUL on another line.** `Write` stops at the NUL and returns false.

{tool_verdicts(figures["awkward"])}
"""
