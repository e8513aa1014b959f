#!/usr/bin/python3
"""Edits real and awkward settings files with this store and others, and counts the other bytes that change:
fidelity.py BUILD FIGURES.json
"""
import collections
import concurrent.futures
import configparser
import difflib
import json
import os
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile
import threading
import time

import Levenshtein

import awkward
import files

SECONDS = 60  # allowed for an edit
ROUNDS = 9  # of timing
LIBRARIES = {"store": "edit", "SimpleIni, repeated keys": "edit", "GKeyFile": "edit", "QSettings": "edit",
             "wxFileConfig": "edit", "iniparser": "edit", "Boost.PropertyTree": "edit", "KConfig": "kconfig"}
HASH_COMMENTS = ("GKeyFile", "KConfig")  # get `#` comments in the generated files
ENVIRONMENT = {"PATH": os.environ["PATH"], "LANG": "C.UTF-8", "HOME": "/nonexistent"}


class Server:
    """A program that answers each line of its input with a line."""

    def __init__(self, *command):
        self.lock = threading.Lock()
        self.process = subprocess.Popen(command, text=True, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, env=ENVIRONMENT)

    def ask(self, *fields):
        with self.lock:
            print(*fields, sep="\t", file=self.process.stdin, flush=True)
            return self.process.stdout.readline().strip()


# An edit returns the seconds that it took, or None if it was refused.

def library(build, name):
    server = Server(build / f"benchmarks/benchmark_fidelity_{LIBRARIES[name]}", name)

    def edit(path, section, key, _, value):
        answer = server.ask(path, section, key, value)
        return None if answer == "refused" else int(answer) / 1e9
    return edit


def reader():
    """Returns Python's reader with the options that accept most files."""
    return configparser.ConfigParser(interpolation=None, strict=False, allow_no_value=True)


def python(path, section, key, _, value):
    start = time.perf_counter()
    try:
        parser = reader()
        parser.optionxform = str  # keeps the case of the keys
        parser.read(path, encoding="utf-8")
        parser[section][key] = value
        with open(path, "w", encoding="utf-8") as file:
            parser.write(file)
    except (configparser.Error, KeyError, UnicodeError):
        return None
    return time.perf_counter() - start


def run(*command, text=""):
    start = time.perf_counter()
    try:
        subprocess.run(command, input=text, text=True, env=ENVIRONMENT, timeout=SECONDS, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, check=True)
    except (subprocess.TimeoutExpired, subprocess.CalledProcessError):
        return None
    return time.perf_counter() - start


def crudini(path, section, key, _, value):
    return run("crudini", "--set", "--existing", path, section, key, value)


def git(path, section, key, _, value):
    return run("git", "config", "--file", path, f"{section}.{key}", value)


def kwriteconfig(path, section, key, _, value):
    return run("kwriteconfig5", "--file", path, "--group", section, "--key", key, value)


OWN_LENSES = {".desktop": "Desktop", ".cnf": "MySQL", ".ini": "PHP"} | dict.fromkeys(
    (".service", ".socket", ".timer", ".target", ".mount", ".path", ".slice"), "Systemd")


def augtool(path, section, key, old, value):
    """Tries the lens for the kind of file, or a general one if there is none, then two loose ones."""
    node = f"/files{path}/*[label()='{section}' or .='{section}']/*[label()='{key}']/descendant-or-self::*[.='{old}']"
    for lens in (OWN_LENSES.get(path.suffix, "Puppet"), "IniFile.lns_loose", "IniFile.lns_loose_multiline"):
        lens += "" if "." in lens else ".lns"
        taken = run("augtool", "--noload", "--noautoload",
                    text=f"transform {lens} incl {path}\nload\nset \"{node}\" \"{value}\"\nsave\n")
        if taken:
            return taken
    return None


def zk_settings(build):
    return lambda path, section, key, _, value: run(build / "tools/zk_settings", "set", path, section, key, value)


TOOLS = {"Python configparser": python, "crudini": crudini, "augtool": augtool, "git config": git,
         "kwriteconfig5": kwriteconfig}


def distance(expected, result):
    """Returns the bytes to insert, delete or replace in the lines that differ; for very long lines, all their bytes."""
    a, b = expected.splitlines(keepends=True), result.splitlines(keepends=True)
    total = 0
    for kind, i, j, k, l in difflib.SequenceMatcher(None, a, b).get_opcodes():
        before, after = b"".join(a[i:j]), b"".join(b[k:l])
        if kind != "equal":
            total += Levenshtein.distance(before, after) if len(before) < 10_000 else max(len(before), len(after))
    return total


class Judge:
    """Compares the file that an edit wrote with the expected file."""

    def __init__(self, build, folder):
        self.store = Server(build / "benchmarks/benchmark_fidelity_store", "read")
        self.folder = folder

    def keys(self, data):
        """Returns the keys that this store finds and those that Python finds. The store ignores the case of names."""
        with tempfile.NamedTemporaryFile(dir=self.folder) as file:
            file.write(data)
            file.flush()
            stored = json.loads(self.store.ask(file.name))
            parser = reader()
            try:
                parser.read(file.name, encoding="utf-8")
                parsed = {name: dict(parser[name]) for name in parser}
            except (configparser.Error, UnicodeError):
                parsed = None
        return sorted([section.lower(), key.lower(), value] for section, key, value in stored), parsed

    def means_other(self, expected, result):
        stored, parsed = self.keys(expected)
        stored_now, parsed_now = self.keys(result)
        return stored != stored_now or (parsed is not None and parsed != parsed_now)


def edited(edit, folder, name, data, section, key, old):
    """Returns the bytes after the edit, or None if it was refused and the file is unchanged."""
    path = folder / f"file{pathlib.Path(name).suffix}"
    path.write_bytes(data)
    taken = edit(path, section, key, old, "new")
    result = path.read_bytes() if path.exists() else b""
    return None if taken is None and result == data else result


def real_files(edit, judge, folder, found):
    """Counts the verdicts on the files, and lists the keys and old values of the edits that changed more."""
    counts, changed = collections.Counter(), []
    for path, data, keys in found:
        verdicts = set()
        for key in keys:
            expected = data[:key.start] + b"new" + data[key.end:]
            result = edited(edit, folder, path.name, data, key.section.decode(), key.name.decode(),
                            data[key.start:key.end].decode())
            if result is None:
                verdicts.add("refused")
            elif result != expected:
                verdicts.add("changed")
                changed.append(f"{key.name.decode()} = {data[key.start:key.end].decode()}")
                counts["bytes"] += distance(expected, result)
                if judge.means_other(expected, result):
                    verdicts.add("meaning")
        if "refused" in verdicts:
            verdicts = {"refused"}
        counts.update(verdicts or {"kept"})
    return dict(counts, edits=changed)


def awkward_files(edit, folder):
    """Returns the verdict on each input: kept, changed or refused."""
    def verdict(case):
        data, expected = (case.template.replace(b"@", value) for value in (case.old.encode(), b"new"))
        result = edited(edit, folder, "file.ini", data, case.section, case.key, case.old)
        return "refused" if result is None else "kept" if result == expected else "changed"
    return [verdict(case) for case in awkward.INPUTS]


def seconds(edits, folders, data):
    """Returns the time of an edit of the last key by candidate; None if it was refused. The candidates take turns."""
    section, key, value = (re.findall(pattern, data, re.MULTILINE)[-1] for pattern in
                           (r"^\[(.*)\]", r"^(\w+) =", r" = (.*)"))
    times = collections.defaultdict(list)
    for _ in range(ROUNDS):
        for name, edit in edits.items():
            path = folders[name] / "timed.ini"
            path.write_text(data.replace(";", "#") if name in HASH_COMMENTS else data)
            times[name].append(edit(path, section, key, value, "an even value"))
    return {name: None if None in taken else statistics.quantiles(taken, n=4)[0] for name, taken in times.items()}


def main():
    build, target = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
    found = [(path, data, files.chosen(data)) for path, data in files.installed(build.parent / "fidelity")]
    found = [file for file in found if file[2]]
    edits = {name: library(build, name) for name in LIBRARIES} | {"zk_settings": zk_settings(build)} | TOOLS
    figures = {"files": len(found), "edits": sum(len(keys) for _, _, keys in found), "packages": files.PACKAGES,
               "inputs": [case.name for case in awkward.INPUTS], "real": {}, "awkward": {}, "seconds": {}}
    with (tempfile.TemporaryDirectory(dir="/dev/shm") as shared,
          concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool):
        folders = {name: pathlib.Path(shared, str(i)) for i, name in enumerate(edits)}
        for folder in folders.values():
            folder.mkdir()
        judge = Judge(build, shared)
        real = {name: pool.submit(real_files, edit, judge, folders[name], found) for name, edit in edits.items()}
        hard = {name: pool.submit(awkward_files, edit, folders[name]) for name, edit in edits.items()}
        for name in edits:
            figures["real"][name], figures["awkward"][name] = real[name].result(), hard[name].result()
        for size in (4_000, 835_000):
            document = subprocess.run([build / "benchmarks/benchmark_fidelity_store", "document", shared, str(size)],
                                      stdout=subprocess.PIPE, text=True, check=True).stdout.strip()
            figures["seconds"][size] = seconds(edits, folders, pathlib.Path(document).read_text())
    target.write_text(json.dumps(figures, indent=1))


if __name__ == "__main__":
    main()
