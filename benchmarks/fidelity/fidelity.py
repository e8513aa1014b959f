#!/usr/bin/python3
"""Edits settings files with INIStore and others, and has the owners read them back: fidelity.py BUILD FIGURES.json

Prints every edit of zk_settings that the owner of the file misreads.
"""
import collections
import json
import multiprocessing
import pathlib
import subprocess
import sys
import tempfile

import awkward
import corpus
import owners

LIBRARIES = ["INIStore", "SimpleIni", "GKeyFile", "QSettings", "wxFileConfig", "iniparser", "Boost.PropertyTree"]
PYTHON = """import configparser, sys
parser = configparser.ConfigParser(interpolation=None, strict=False, allow_no_value=True)
parser.optionxform = str; parser.read(sys.argv[1]); parser[sys.argv[2]][sys.argv[3]] = sys.argv[4]
parser.write(open(sys.argv[1], "w"))"""
BY_NAME = ["zk_settings --dialect", "zk_settings, file.txt"]  # instead of by the file's own name
LENSES = {".desktop": "Desktop", ".cnf": "MySQL", ".ini": "PHP"} | dict.fromkeys(
    (".service", ".socket", ".timer", ".target", ".mount", ".path", ".slice"), "Systemd")


def run(*command, text=""):
    """Returns whether the command succeeded."""
    try:
        return subprocess.run(command, input=text, text=True, env=owners.ENVIRONMENT, timeout=60, check=False,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0
    except subprocess.TimeoutExpired:
        return False


# An edit sets a key to "new", and returns whether it succeeded.

def augtool(path, key):
    """Tries the lens for the kind of file, or a general one if there is none, then two loose ones."""
    node = (f"/files{path}/*[label()='{key.section}' or .='{key.section}']/*[label()='{key.name}']"
            f"/descendant-or-self::*[.='{key.values[-1]}']")
    lenses = LENSES.get(path.suffix, "Puppet") + ".lns", "IniFile.lns_loose", "IniFile.lns_loose_multiline"
    return any(run("augtool", "--noload", "--noautoload",
                   text=f"transform {lens} incl {path}\nload\nset \"{node}\" new\nsave\n") for lens in lenses)


def edits(build, dialect):
    """Returns the edits by candidate. `dialect` is for zk_settings."""
    def command(*words):
        return lambda path, key: run(*words, path, key.section, key.name, "new")

    zk_settings = [build / "tools/zk_settings", "set"]
    return {name: command(build / "benchmarks/benchmark_edit", name) for name in LIBRARIES} | {
        "Python configparser": command("/usr/bin/python3", "-c", PYTHON), "zk_settings": command(*zk_settings),
        "zk_settings --dialect": command(*zk_settings, "--dialect", dialect),
        "zk_settings, file.txt": command(*zk_settings), "crudini": command("crudini", "--set", "--existing"),
        "augtool": augtool,
        "git config": lambda path, key: run("git", "config", "--file", path,
                                            f"{owners.git_name(key.section, '')[0]}.{key.name}", "new"),
        "kwriteconfig5": lambda path, key: run("kwriteconfig5", "--file", path, "--group", key.section,
                                               "--key", key.name, "new")}


def edited(edit, path, data, key):
    """Returns the bytes after the edit, or None if it was refused and the file is unchanged."""
    path.write_bytes(data)
    is_done = edit(path, key)
    after = path.read_bytes() if path.exists() else b""
    return None if after == data and not is_done else after


def verdict(edit, path, file, key, views):
    """Returns refused, misread (by the owner), changed (bytes outside the value) or kept."""
    after = edited(edit, path, file.data, key)
    if after is None:
        return "refused"
    # Of equal keys, the last one counts.
    if owners.views(file, path) != [view | {key.seen: view[key.seen][:-1] + ["new"]} for view in views]:
        return "misread"
    return "kept" if after.startswith(file.data[:key.start]) and after.endswith(file.data[key.end:]) else "changed"


def of_file(job):
    """Returns the owner, the kind of key, the candidate and the verdict of each edit, and the kinds of each key."""
    build, file = job
    results = []
    with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
        path, nameless = pathlib.Path(folder, file.name), pathlib.Path(folder, "file.txt")
        path.parent.mkdir(parents=True)
        path.write_bytes(file.data)
        views = owners.views(file, path)
        keys = corpus.keys_of(file, views[0]) if views else []
        for key in corpus.chosen(keys):
            for name, edit in edits(build, owners.ALL[file.owner].dialect).items():
                result = verdict(edit, nameless if name.endswith(".txt") else path, file, key, views)
                results.append((file.owner, "awkward" if key.kinds else "plain", name, result))
                if name.startswith("zk_settings") and result in ("misread", "changed"):
                    print(f"{name}: {result}: {file.name}: [{key.section}] {key.name}, {key.kinds}", flush=True)
    return results, [key.kinds for key in keys]


def of_input(job):
    """Returns the verdict on an awkward input by candidate: kept, changed or refused."""
    build, case = job
    data, expected = (case.template.replace(b"@", value) for value in (case.old.encode(), b"new"))
    key = corpus.Key(case.section, case.key, None, [case.old], 0, 0, [])
    with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
        after = {name: edited(edit, pathlib.Path(folder, "file.ini"), data, key)
                 for name, edit in edits(build, "common").items() if name not in BY_NAME}
    return {name: "refused" if now is None else "kept" if now == expected else "changed"
            for name, now in after.items()}


def main():
    build, target = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
    verdicts, lines, found = collections.Counter(), collections.Counter(), collections.Counter()
    with multiprocessing.Pool() as pool:
        jobs = [(build, file) for file in corpus.installed(build.parent / "fidelity")]
        for results, key_lines in pool.imap(of_file, jobs):
            verdicts.update("|".join(result) for result in results)
            found.update({owner for owner, *_ in results})
            for kinds in key_lines:
                lines.update(["lines", *["awkward"][:len(kinds)], *kinds])
        inputs = pool.map(of_input, [(build, case) for case in awkward.INPUTS])
    target.write_text(json.dumps({
        "packages": len(corpus.PACKAGES), "files": found, "lines": lines, "verdicts": verdicts,
        "awkward": dict(zip((case.name for case in awkward.INPUTS), inputs))}, indent=1))


if __name__ == "__main__":
    main()
