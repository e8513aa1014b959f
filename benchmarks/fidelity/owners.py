"""How the program that owns a settings file reads it.

A reader returns {(section, key): values} as the owner sees them, or None if the owner refuses the file. Of equal keys,
some owners see only the last: then there is one value.
"""
import collections
import configparser
import functools
import json
import re
import subprocess

from gi.repository import GLib

ENVIRONMENT = {"PATH": "/usr/bin:/bin", "LANG": "C.UTF-8", "HOME": "/nonexistent"}


def output(*command):
    done = subprocess.run(command, env=ENVIRONMENT, capture_output=True, check=False)
    return None if done.returncode else done.stdout.decode("utf-8", "surrogateescape")


def grouped(triples):
    found = collections.defaultdict(list)
    for section, key, value in triples:
        found[section, key].append(value)
    return dict(found)


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


def systemd(path):
    """A model of systemd.syntax(7)."""
    triples, section, begun = [], "", ""
    for line in path.read_text(encoding="utf-8", errors="surrogateescape").split("\n"):
        if line.strip().startswith(("#", ";")):
            continue
        line, begun = begun + line, ""
        if re.search(r"\\*$", line)[0].count("\\") % 2:
            begun = line[:-1] + " "
        elif header := re.fullmatch(r"\s*\[(.*)\]\s*", line):
            section = header[1]
        elif key := re.fullmatch(r"\s*([^=\[]+?)\s*=\s*(.*?)\s*", line):
            triples.append((section, *key.groups()))
        elif line.strip():
            return None
    return grouped(triples)


def git(path):
    listed = output("git", "config", "--file", str(path), "--no-includes", "--list", "-z")
    entries = [entry.partition("\n") for entry in (listed or "").split("\0")[:-1]]
    return None if listed is None else grouped((*name.rpartition(".")[::2], value if newline else None)
                                               for name, newline, value in entries)


def git_name(section, key):
    """Returns git's names: `[remote "origin"]` is the section `remote.origin`."""
    quoted = re.fullmatch(r'([^"\s]+)\s*"(.*)"', section)
    return f"{quoted[1].lower()}.{quoted[2]}" if quoted else section.lower(), key.lower()


def mysql(path):
    triples, text = [], path.read_text(encoding="utf-8", errors="surrogateescape")
    for group in dict.fromkeys(re.findall(r"^\s*\[([^\]\n]*)\]", text, re.MULTILINE)):
        listed = output("my_print_defaults", f"--defaults-file={path}", group)
        if listed is None:
            return None
        for option in re.split(r"\n(?=--|\Z)", listed)[:-1]:
            key, equals, value = option[2:].partition("=")
            triples.append((group, key.replace("_", "-"), value if equals else None))
    return grouped(triples)


def php(path, mode="NORMAL"):
    code = f"echo json_encode(@parse_ini_file($argv[1], true, INI_SCANNER_{mode}), JSON_INVALID_UTF8_SUBSTITUTE);"
    read = json.loads(output("php", "-n", "-r", code, str(path)))
    triples = [(name, *line) if isinstance(content, dict) else ("", name, content)
               for name, content in dict(read or {}).items() if content != []
               for line in (content.items() if isinstance(content, dict) else [()])]
    return None if read is False else grouped(triples)


# `dialect` is its name in zk_settings. All readers have to see exactly the edit. `spelled` returns the owner's name of
# a key. `continued` is how a value continues.
Owner = collections.namedtuple("Owner", "dialect readers spelled continued", defaults=(lambda *name: name, None))
LOWER, DASHES = lambda section, key: (section, key.lower()), lambda section, key: (section, key.replace("_", "-"))
ALL = {"desktop": Owner("desktop", [keyfile]), "systemd": Owner("systemd", [systemd], continued="backslash"),
       "git": Owner("git", [git], git_name, "backslash"), "mysql": Owner("mysql", [mysql], DASHES),
       "php": Owner("php", [php, functools.partial(php, mode="RAW")]),
       "python": Owner("python", [python], LOWER, "indent"), "common": Owner("common", [python], LOWER, "indent"),
       "python;": Owner("python", [functools.partial(python, inline_comment_prefixes=(";",))], LOWER, "indent")}


def views(file, path):
    """Returns what each reader sees; an empty list if one refuses."""
    seen = [reader(path) for reader in ALL[file.owner].readers]
    return [] if None in seen else seen
