"""How the program that owns a settings file reads it.

A reader returns {(section, key): values}, with the names and values as the owner sees them, or None if the owner
refuses the file. Of equal keys some owners see only the last: then there is one value.
"""
import collections
import configparser
import json
import re
import subprocess

from gi.repository import GLib

ENVIRONMENT = {"PATH": "/usr/bin:/bin", "LANG": "C.UTF-8", "HOME": "/nonexistent"}


def output(*command):
    done = subprocess.run(command, env=ENVIRONMENT, capture_output=True, check=False)
    return None if done.returncode else done.stdout.decode("utf-8", "surrogateescape")


def grouped(triples):
    found = {}
    for section, key, value in triples:
        found.setdefault((section, key), []).append(value)
    return found


def keyfile(path):
    file = GLib.KeyFile()
    try:
        file.load_from_file(str(path), GLib.KeyFileFlags.KEEP_TRANSLATIONS)
        return {(group, key): [file.get_value(group, key)]
                for group in file.get_groups()[0] for key in file.get_keys(group)[0]}
    except (GLib.Error, UnicodeError):
        return None


def python(path, **options):
    parser = configparser.RawConfigParser(strict=False, allow_no_value=True, default_section="\0", **options)
    try:
        parser.read(path, encoding="utf-8")
    except (configparser.Error, UnicodeError, AttributeError):  # the last for a continued key without a value
        return None
    return {(section, key): [value] for section in parser.sections() for key, value in parser[section].items()}


def python_semicolon(path):
    """As fail2ban, supervisor and ansible read their files."""
    return python(path, inline_comment_prefixes=(";",))


def systemd(path):
    """A model of systemd.syntax(7)."""
    triples, section, begun = [], "", ""
    with open(path, encoding="utf-8", errors="surrogateescape", newline="\n") as file:
        lines = file.read().split("\n")
    for line in lines:
        if line.strip()[:1] in ("#", ";") and line.strip():
            continue
        line = begun + line
        is_open = re.search(r"\\*$", line)[0].count("\\") % 2
        begun = line[:-1] + " " if is_open else ""
        text = line.strip()
        if is_open or not text:
            continue
        if text[0] == "[" and text[-1] == "]":
            section = text[1:-1]
        elif text[0] == "[" or "=" not in text:
            return None
        else:
            key, _, value = text.partition("=")
            triples.append((section, key.rstrip(), value.lstrip()))
    return grouped(triples)


def git(path):
    listed = output("git", "config", "--file", str(path), "--no-includes", "--list", "-z")
    if listed is None:
        return None
    entries = [entry.partition("\n") for entry in listed.split("\0")[:-1]]
    return grouped((*name.rpartition(".")[::2], value if newline else None) for name, newline, value in entries)


def git_name(section, key):
    """Returns git's names: `[remote "origin"]` is the section `remote.origin`."""
    quoted = re.fullmatch(r'([^"\s]+)\s*"(.*)"', section)
    return f"{quoted[1].lower()}.{quoted[2]}" if quoted else section.lower(), key.lower()


def mysql(path):
    triples = []
    with open(path, encoding="utf-8", errors="surrogateescape") as file:
        groups = re.findall(r"^\s*\[([^\]\n]*)\]", file.read(), re.MULTILINE)
    for group in dict.fromkeys(groups):
        listed = output("my_print_defaults", f"--defaults-file={path}", group)
        if listed is None:
            return None
        for option in re.split(r"\n(?=--|\Z)", listed)[:-1]:
            key, equals, value = option[2:].partition("=")
            triples.append((group, key, value if equals else None))
    return grouped(triples)


def php(path, mode="NORMAL"):
    read = json.loads(output("php", "-n", "-r", f"echo json_encode(@parse_ini_file($argv[1], true, INI_SCANNER_{mode}),"
                             "JSON_INVALID_UTF8_SUBSTITUTE | JSON_UNESCAPED_UNICODE);", str(path)))
    if read is False:
        return None
    sections = {name: value if isinstance(value, dict) else {} for name, value in read.items()
                if isinstance(value, dict) or value == []} if read else {}
    top = {name: value for name, value in read.items() if name not in sections} if read else {}
    return {(section, key): value if isinstance(value, list) else [value]
            for section, keys in {"": top, **sections}.items() for key, value in keys.items()}


def php_raw(path):
    return php(path, "RAW")


def same(section, key):
    return section, key


def lower(section, key):
    return section, key.lower()


# `dialect` is its name in zk_settings. The readers have to see exactly the edit. `spelled` returns the owner's name of a
# key. `lists` tells whether it sees all values of a repeated key.
Owner = collections.namedtuple("Owner", "dialect readers spelled lists continued separators",
                               defaults=(same, False, None, b"="))
ALL = {"desktop": Owner("desktop", [keyfile]),
       "systemd": Owner("systemd", [systemd], same, True, "backslash"),
       "common": Owner("common", [python], lower, False, "indent", b"=:"),
       "python": Owner("python", [python], lower, False, "indent", b"=:"),
       "python;": Owner("python", [python_semicolon], lower, False, "indent", b"=:"),
       "git": Owner("git", [git], git_name, True, "backslash"),
       "mysql": Owner("mysql", [mysql], same, True),
       "php": Owner("php", [php, php_raw])}


def views(file, path):
    """Returns what each reader sees; an empty list if one refuses."""
    seen = [reader(path) for reader in ALL[file.owner].readers]
    return [] if None in seen else seen


def with_value(view, seen, value):
    """Returns the view in which the value of the key that counts, the last one, is another."""
    return view | {seen: view.get(seen, [])[:-1] + [value]}
