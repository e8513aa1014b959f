#!/usr/bin/python3
"""Edits real and awkward settings files with INIStore and others, and reads them back: fidelity.py BUILD FIGURES.json"""
import collections
import configparser
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
OWN_LENSES = {".desktop": "Desktop", ".cnf": "MySQL", ".ini": "PHP"} | dict.fromkeys(
    (".service", ".socket", ".timer", ".target", ".mount", ".path", ".slice"), "Systemd")


def run(*command, text=""):
    """Returns whether the command succeeded."""
    try:
        return subprocess.run(command, input=text, text=True, env=owners.ENVIRONMENT, timeout=60, check=False,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0
    except subprocess.TimeoutExpired:
        return False


# An edit sets a key to a value, and returns whether it succeeded.

def python(path, _, key, value):
    parser = configparser.ConfigParser(interpolation=None, strict=False, allow_no_value=True)
    parser.optionxform = str  # keeps the case of the keys
    try:
        parser.read(path, encoding="utf-8")
        parser[key.section][key.name] = value
        with open(path, "w", encoding="utf-8") as file:
            parser.write(file)
    except (configparser.Error, KeyError, UnicodeError, AttributeError):
        return False
    return True


def crudini(path, _, key, value):
    return run("crudini", "--set", "--existing", path, key.section, key.name, value)


def git(path, _, key, value):
    return run("git", "config", "--file", path, f"{owners.git_name(key.section, '')[0]}.{key.name}", value)


def kwriteconfig(path, _, key, value):
    return run("kwriteconfig5", "--file", path, "--group", key.section, "--key", key.name, value)


def augtool(path, _, key, value):
    """Tries the lens for the kind of file, or a general one if there is none, then two loose ones."""
    node = f"/files{path}/*[label()='{key.section}' or .='{key.section}']/*[label()='{key.name}']"
    node += f"/descendant-or-self::*[.='{key.values[-1]}']"
    return any(run("augtool", "--noload", "--noautoload",
                   text=f"transform {lens} incl {path}\nload\nset \"{node}\" \"{value}\"\nsave\n")
               for lens in (OWN_LENSES.get(path.suffix, "Puppet") + ".lns", "IniFile.lns_loose",
                            "IniFile.lns_loose_multiline"))


def edits(build):
    """Returns the edits by candidate."""
    def library(name):
        return lambda path, _, key, value: run(build / "benchmarks/benchmark_edit", name, path, key.section, key.name,
                                               value)

    def zk_settings(path, owner, key, value, *options):
        return run(build / "tools/zk_settings", "set", *options, path, key.section, key.name, value)

    def with_dialect(path, owner, key, value):
        return zk_settings(path, owner, key, value, "--dialect", owners.ALL[owner].dialect)
    return {name: library(name) for name in LIBRARIES} | {
        "Python configparser": python, "zk_settings": zk_settings, "zk_settings --dialect": with_dialect,
        "zk_settings, file.txt": zk_settings, "crudini": crudini, "augtool": augtool, "git config": git,
        "kwriteconfig5": kwriteconfig}


def edited(edit, path, data, owner, key):
    """Returns the bytes after the edit, or None if it was refused and the file is unchanged."""
    path.write_bytes(data)
    is_done = edit(path, owner, key, "new")
    after = path.read_bytes() if path.exists() else b""
    return None if after == data and not is_done else after


def verdict(edit, path, file, key, views):
    """Returns refused, misread (by the owner), changed (bytes outside the value) or kept."""
    after = edited(edit, path, file.data, file.owner, key)
    if after is None:
        return "refused"
    if owners.views(file, path) != [owners.with_value(view, key.seen, "new") for view in views]:
        return "misread"
    head, tail = file.data[:key.start], file.data[key.end:]
    return "kept" if after.startswith(head) and after.endswith(tail) else "changed"


def of_file(job):
    """Returns the owner, the kind of key, the candidate and the verdict of each edit, and the kinds of each key line."""
    build, file = job
    results = []
    with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
        path, nameless = pathlib.Path(folder, file.name), pathlib.Path(folder, "file.txt")
        path.parent.mkdir(parents=True)
        path.write_bytes(file.data)
        views = owners.views(file, path)
        keys = corpus.keys_of(file, views[0]) if views else []
        for key in corpus.chosen(keys):
            kind = "awkward" if key.kinds else "plain"
            for name, edit in edits(build).items():
                where = nameless if name.endswith(".txt") else path
                results.append((file.owner, kind, name, verdict(edit, where, file, key, views)))
    return results, [(file.owner, key.kinds) for key in keys]


def of_input(job):
    """Returns the verdict on an awkward input by candidate: kept, changed or refused."""
    build, case = job
    data, expected = (case.template.replace(b"@", value) for value in (case.old.encode(), b"new"))
    key = corpus.Key(case.section, case.key, None, [case.old], 0, 0, [])
    with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
        after = {name: edited(edit, pathlib.Path(folder, "file.ini"), data, "common", key)
                 for name, edit in edits(build).items() if not name.startswith("zk_settings") or name == "zk_settings"}
    return {name: "refused" if now is None else "kept" if now == expected else "changed" for name, now in after.items()}


def main():
    build, target = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
    verdicts, lines, found = collections.Counter(), collections.Counter(), collections.Counter()
    with multiprocessing.Pool() as pool:
        for results, key_lines in pool.imap_unordered(
                of_file, [(build, file) for file in corpus.installed(build.parent / "fidelity")]):
            verdicts.update("|".join(result) for result in results)
            found.update({owner for owner, *_ in results})
            for owner, kinds in key_lines:
                lines.update([f"{owner}|lines", *([f"{owner}|awkward"] if kinds else []), *kinds])
        inputs = pool.map(of_input, [(build, case) for case in awkward.INPUTS])
    target.write_text(json.dumps({
        "packages": len(corpus.PACKAGES), "files": found, "lines": lines, "verdicts": verdicts,
        "awkward": dict(zip((case.name for case in awkward.INPUTS), inputs))}, indent=1))


if __name__ == "__main__":
    main()
