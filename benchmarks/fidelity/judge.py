#!/usr/bin/python3
"""Runs every command of zk_settings on real files, and has the owner of each file read the result:

    judge.py ZK_SETTINGS FOLDER [--quick] [--names named,own,nothing] [--file PART]

FOLDER keeps the packages. Prints every edit that ended with status 0 and is wrong, the messages of the others, and the
counts. The dialect is `named` with --dialect, or follows from the file's `own` name, or from one that tells `nothing`.
"""
import argparse
import collections
import difflib
import multiprocessing
import pathlib
import re
import subprocess
import sys
import tempfile

import corpus
import owners

VALUES = ["two words", "a;b", "a#b", "a ; b", "a # b", 'say "hi"', "C:\\new\\", "", "it's", "[x]", "a=b", "; x", "#x",
          " lead", "50%", "'q'", '"q"', "$HOME", "größe", "a:b", "x\\", "~", "!x", "null", "a\\nb"]
ESCAPES = {"s": " ", "n": "\n", "t": "\t", "r": "\r", "\\": "\\"}  # of GKeyFile

# `seen` is the owner's name of the key, and `changed` returns the lists of values that are right after the edit.
Edit = collections.namedtuple("Edit", "command operands seen kinds changed")


def edits_of(file, keys, number):
    owner = owners.ALL[file.owner]
    for i, key in enumerate(keys):
        name, awkward = (key.section, key.name), VALUES[(number + i) % len(VALUES)]
        yield Edit("get", name, key.seen, key.kinds, None)
        yield Edit("remove", name, key.seen, key.kinds, lambda values: [None])
        for value in ("new", awkward):
            yield Edit("set", (*name, value), key.seen, key.kinds, lambda values, value=value: [values[:-1] + [value]])
        if owner.lists:
            yield Edit("append", (*name, "new"), key.seen, key.kinds,
                       lambda values: [values[:i + 1] + ["new"] + values[i + 1:] for i in range(len(values))])
            yield Edit("prepend", (*name, "new"), key.seen, key.kinds,
                       lambda values: [values[:i] + ["new"] + values[i:] for i in range(len(values))])
    for section, key in ((keys[-1].section, "zkkey"), ("zknew", "zkkey")):
        yield Edit("set", (section, key, "new"), owner.spelled(section, key), ["added"], lambda values: [["new"]])
    yield Edit("remove", (keys[-1].section,), (keys[-1].seen[0], None), ["section"], None)


def wanted(view, edit):
    """Returns the views that are right after the edit."""
    if edit.seen[1] is None:
        return [{name: values for name, values in view.items() if name[0] != edit.seen[0]}]
    others = {name: values for name, values in view.items() if name != edit.seen}
    return [others if values is None else {**others, edit.seen: values}
            for values in edit.changed(view.get(edit.seen, []))]


def as_string(view, seen):
    """Returns what g_key_file_get_string reads, besides the raw value."""
    return view | {seen: [re.sub(r"\\([sntr\\])", lambda mark: ESCAPES[mark[1]], value or "")
                          for value in view.get(seen, [])]}


def difference(before, after, right=None, view=None):
    lines = list(difflib.unified_diff(*(data.decode("utf-8", "backslashreplace").split("\n")
                                        for data in (before, after)), lineterm="", n=1))[2:20]
    names = list(dict.fromkeys([*right, *view])) if view else []
    return "\n".join([*lines, *([] if view or right is None else ["the owner refuses the file"]), *(
        f"owner: {name}: wanted {right.get(name)}, reads {view.get(name)}" for name in names
        if right.get(name) != view.get(name))][:40])


def verdict(tool, options, edit, path, file, views):
    """Returns right, wrong, refused or absent, and the reason."""
    path.write_bytes(file.data)
    done = subprocess.run([tool, edit.command, *options, path, *edit.operands], capture_output=True, check=False,
                          env=owners.ENVIRONMENT)
    after, message = path.read_bytes(), done.stderr.decode().strip().replace(str(path), "FILE")
    if done.returncode:
        is_clean = after == file.data and done.returncode in (1, 2) and message
        return {1: "absent", 2: "refused"}[done.returncode] if is_clean else "wrong", message
    if edit.command == "get":
        printed = done.stdout.decode("utf-8", "surrogateescape").split("\0")[:-1]
        seen = [[value or "" for value in view[edit.seen]] for view in views]
        is_right = printed in seen or (not owners.ALL[file.owner].lists and printed[-1:] in seen)
        return "right" if is_right else "wrong", f"prints {printed}, the owner reads {seen}"
    is_plain = edit.operands[-1] == "new"
    for reader, view in list(zip(owners.ALL[file.owner].readers, views))[:None if is_plain else 1]:
        now, right = reader(path), wanted(view, edit)
        if now not in right and not (now and reader is owners.keyfile and as_string(now, edit.seen) in right):
            return "wrong", difference(file.data, after, right[0], now)
    return "right", ""


def of_file(job):
    tool, modes, number, file = job
    results = []
    with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
        own, nothing = pathlib.Path(folder, file.name), pathlib.Path(folder, "file.txt")
        own.parent.mkdir(parents=True)
        own.write_bytes(file.data)
        views = owners.views(file, own)
        keys = corpus.keys_of(file, views[0]) if views else []
        for edit in edits_of(file, corpus.chosen(keys), number) if keys else ():
            for mode in modes:
                options = ["--dialect", owners.ALL[file.owner].dialect] if mode == "named" else []
                options += ["--null"] if edit.command == "get" else []
                path = nothing if mode == "nothing" else own
                result, text = verdict(tool, options, edit, path, file, views)
                what = f"{mode}: {edit.command} {file.name} {edit.operands} ({', '.join(edit.kinds) or 'plain'})"
                results.append(((mode, file.owner), (mode, edit.command), result, what, text))
    return results


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tool", type=lambda text: pathlib.Path(text).resolve())
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--names", default="named,own,nothing")
    parser.add_argument("--file", default="")
    asked = parser.parse_args()
    files = [file for file in corpus.installed(asked.folder) if asked.file in file.name]
    jobs = [(asked.tool, asked.names.split(","), i, file) for i, file in enumerate(files[::6 if asked.quick else 1])]
    counts, refusals = collections.defaultdict(collections.Counter), collections.defaultdict(list)
    with multiprocessing.Pool() as pool:
        for *groups, result, what, text in (result for results in pool.imap(of_file, jobs) for result in results):
            for group in groups:
                counts[group][result] += 1
            if result == "wrong":
                print(f"WRONG {what}\n    " + text.replace("\n", "\n    "))
            elif result != "right":
                refusals[result, re.sub(r"\d+|'[^']*'|\"[^\"]*\"", "_", text)].append(f"{what}\n        {text}")
    for (result, reason), found in sorted(refusals.items(), key=lambda item: -len(item[1])):
        print(f"{result.upper()} {len(found)} x {reason}", *found[:3], sep="\n    ")
    print(f"\n{'':20} {'right':>8} {'wrong':>8} {'refused':>8} {'absent':>8}  accepted")
    for (mode, group), by_result in sorted(counts.items()):
        print(f"{mode + ', ' + group:20}", *(f"{by_result[name]:8}" for name in ("right", "wrong", "refused", "absent")),
              f"{(by_result['right'] + by_result['wrong']) / by_result.total():9.2%}")
    return 1 if any(result["wrong"] for result in counts.values()) else 0


if __name__ == "__main__":
    sys.exit(main())
