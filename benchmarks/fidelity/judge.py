#!/usr/bin/python3
"""Edits real settings files with zk_settings and reads them back with the program that owns each:

    judge.py ZK_SETTINGS FOLDER [--quick] [--names named,own,nothing] [--dialects desktop,git,...] [--file PART]

FOLDER keeps the packages. Prints every wrong edit, with the lines that changed and what the owner now reads otherwise,
then the messages of the refused ones, then the counts. The file's name is its own, with --dialect ("named") or without
("own"), or one that tells nothing ("nothing"). --quick takes about 20 files of each dialect.
"""
import argparse
import collections
import difflib
import multiprocessing
import pathlib
import subprocess
import sys
import tempfile

import corpus
import keys
import owners

LISTS = ("systemd", "git", "mysql", "store")  # their owners see all values of a repeated key
AWKWARD = ["two words", "a;b", "a#b", "a ; b", "a # b", 'say "hi"', "C:\\new\\", "", "it's", "[x]", "a=b", "; x", "#x",
           " lead", "50%", "'q'", '"q"', "$HOME", "größe", "a:b", "x\\", "~", "!x", "null", "a\\nb"]
NEW = ("zknew", "zkkey")  # a section and a key that no file has

Edit = collections.namedtuple("Edit", "command section key value name at")


def edits_of(chosen, dialect, spelled, number):
    for i, key in enumerate(chosen):
        awkward = AWKWARD[(number + i) % len(AWKWARD)]
        for command, value in (("get", None), ("set", "new"), ("set", awkward), ("remove", None)):
            yield Edit(command, key.section, key.text, value, key.name, key)
        if dialect in LISTS:
            yield Edit("append", key.section, key.text, "new", key.name, key)
            yield Edit("prepend", key.section, key.text, "new", key.name, key)
    last = chosen[-1]
    yield Edit("set", last.section, NEW[1], "new", spelled(last.section, NEW[1]), None)
    yield Edit("set", *NEW, "new", spelled(*NEW), None)
    yield Edit("remove", last.section, None, None, last.name, None)


def expected(view, edit, dialect):
    """Returns the owner's views that are right after the edit. The last of equal keys counts, for the store the first.
    """
    section, values = edit.name[0], view.get(edit.name, [])
    if edit.command == "remove":
        return [{name: kept for name, kept in view.items()
                 if (name[0] != section if edit.key is None else name != edit.name)}]
    if edit.command == "set":
        if dialect == "store":
            return [view | {edit.name: [edit.value] + values[1:]}]
        return [view | {edit.name: values[:-1] + [edit.value]}]
    places = range(len(values)) if edit.command == "prepend" else range(1, len(values) + 1)
    return [view | {edit.name: values[:i] + [edit.value] + values[i:]} for i in places]


def unescaped(values):
    """Returns the values as g_key_file_get_string does."""
    marks = {"s": " ", "n": "\n", "t": "\t", "r": "\r", "\\": "\\"}
    return [keys.re.sub(r"\\([sntr\\])", lambda m: marks[m[1]], value) for value in values]


def difference(before, after, path, views):
    lines = difflib.unified_diff(*(data.decode("utf-8", "backslashreplace").split("\n") for data in (before, after)),
                                 lineterm="", n=1)
    text = "\n".join("    " + line for line in list(lines)[2:24])
    if views:
        wanted, now = views
        if now is None:
            return text + "\n    the owner refuses the file"
        text += "".join(f"\n    owner: {name}: wanted {wanted.get(name)}, reads {now.get(name)}"
                        for name in list(dict.fromkeys([*wanted, *now]))
                        if wanted.get(name) != now.get(name))[:1500]
    return text


def bytes_outside(before, after, edit):
    """Tells whether `set` changed bytes outside the value."""
    key = edit.at
    head, tail = before[:key.start], before[key.end:]
    return not (after.startswith(head) and after.endswith(tail))


def verdict(edit, path, data, views, dialect, options, tool):
    """Returns right, bytes, refused, absent or wrong, and the reason."""
    path.write_bytes(data)
    operands = [text for text in (edit.section, edit.key, edit.value) if text is not None]
    done = subprocess.run([tool, edit.command, *options, path, *operands], capture_output=True, check=False,
                          env=owners.ENVIRONMENT)
    after = path.read_bytes()
    message = done.stderr.decode("utf-8", "replace").strip().replace(str(path), "FILE")
    if done.returncode:
        if after != data or done.returncode not in (1, 2):
            return "wrong", f"    status {done.returncode}: {message}\n" + difference(data, after, path, None)
        return ("absent" if done.returncode == 1 else "refused"), message
    if edit.command == "get":
        printed = done.stdout.decode("utf-8", "surrogateescape").split("\0")[:-1]
        for view in views:
            if printed == [value or "" for value in view[edit.name]] or printed[-1:] == view[edit.name]:
                return "right", ""
        return "wrong", f"    prints {printed}, the owner reads {views[0][edit.name]}"
    for reader, view in zip(owners.OWNERS[dialect][0], views):
        now, wanted = reader(path), expected(view, edit, dialect)
        if now in wanted or (reader is owners.keyfile and now and edit.name in now and
                             now | {edit.name: unescaped(now[edit.name])} in wanted):
            continue
        if reader is owners.php_raw and now and now | {edit.name: 0} == wanted[0] | {edit.name: 0}:
            continue  # php.ini is read in normal mode
        return "wrong", difference(data, after, path, (wanted[0], now))
    # Without the key's own lines the other bytes must be there.
    if edit.command == "set" and edit.at and bytes_outside(data, after, edit):
        if edit.value == "new" and "repeated" not in edit.at.kinds:
            return "bytes", difference(data, after, path, None)
    return "right", ""


def judged(job):
    """Returns (name mode, dialect, edit, verdict, text) of each edit of a file."""
    number, name, data, dialect, modes, tool = job
    readers, spelled = owners.OWNERS[dialect]
    results = []
    with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
        own, nothing = pathlib.Path(folder, "own", name), pathlib.Path(folder, "nothing/file.txt")
        for path in (own, nothing):
            path.parent.mkdir(parents=True)
            path.write_bytes(data)
        views = [reader(own) for reader in readers]
        if None in views or not (found := keys.keys_of(data, dialect, views[0], spelled)):
            return []
        for edit in edits_of(keys.chosen(found), dialect, spelled, number):
            for mode in modes:
                options = ["--dialect", dialect.rstrip(";")] if mode == "named" else []
                options += ["--null"] if edit.command == "get" else []
                path = nothing if mode == "nothing" else own
                results.append((mode, dialect, edit, *verdict(edit, path, data, views, dialect, options, tool)))
    return [(name, *result) for result in results]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tool", type=lambda text: pathlib.Path(text).resolve())
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--names", default="named,own,nothing")
    parser.add_argument("--dialects")
    parser.add_argument("--file", default="")
    asked = parser.parse_args()
    by_dialect = collections.defaultdict(list)
    for name, data in corpus.installed(asked.folder).items():
        if asked.file in name:
            by_dialect[corpus.dialect_of(name)].append((name, data))
    jobs = []
    for dialect, files in by_dialect.items():
        if not asked.dialects or dialect in asked.dialects.split(","):
            step = max(len(files) // 20, 1) if asked.quick else 1
            jobs += [(i, name, data, dialect, asked.names.split(","), asked.tool)
                     for i, (name, data) in enumerate(files[::step])]
        if "named" in asked.names and (not asked.dialects or "store" in asked.dialects):
            jobs += [(i, name, data, "store", ["named"], asked.tool)
                     for i, (name, data) in enumerate(files[::max(len(files) // 5, 1) if asked.quick else 4])]
    counts, refusals = collections.defaultdict(collections.Counter), collections.defaultdict(list)
    with multiprocessing.Pool() as pool:
        for results in pool.imap(judged, jobs):
            counts["files"]["files"] += bool(results)
            for name, mode, dialect, edit, result, text in results:
                value = "" if edit.value is None else repr(edit.value)
                what = f"{mode}: {edit.command} {name} {edit.section!r} {edit.key!r} {value}"
                what += f"  ({', '.join(edit.at.kinds) or 'plain'})" if edit.at else "  (added)"
                kind = edit.command if edit.value in (None, "new") else f"{edit.command}, awkward value"
                counts[mode, dialect][result] += 1
                counts[mode, kind][result] += 1
                counts[mode, "all"][result] += 1
                if result in ("wrong", "bytes"):
                    print(f"{result.upper()} {what}\n{text}")
                elif result != "right":
                    reason = keys.re.sub(r"\d+|'[^']*'|\"[^\"]*\"", "_", text)
                    refusals[mode, result, reason].append(f"{what}\n        {text}")
    for (mode, result, reason), found in sorted(refusals.items(), key=lambda item: -len(item[1])):
        print(f"{result.upper()} {len(found)} x {mode}: {reason}", *found[:3], sep="\n    ")
    print(f"\n{counts.pop('files')['files']} files")
    columns = ("right", "bytes", "wrong", "refused", "absent")
    print(f"{'':32}", *(f"{column:>8}" for column in columns), " accepted")
    for (mode, group), result in sorted(counts.items()):
        accepted = 1 - (result["refused"] + result["absent"]) / result.total()
        print(f"{mode + ', ' + group:32}", *(f"{result[column]:8}" for column in columns), f"  {accepted:7.2%}")
    return 1 if any(result["wrong"] for result in counts.values()) else 0


if __name__ == "__main__":
    sys.exit(main())
