"""How the program that owns a settings file reads it.

A reader returns {(section, key): values}, with the names and values as the owner sees them, or None if the owner
refuses the file. Of equal keys some owners see only the last: then there is one value.
"""
import configparser
import ctypes
import json
import pathlib
import re
import subprocess

ENVIRONMENT = {"PATH": "/usr/bin:/bin", "LANG": "C.UTF-8", "HOME": "/nonexistent"}


class Server:
    """A program that answers each line of its input with a line."""

    def __init__(self, *command):
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        env=ENVIRONMENT)

    def ask(self, *fields):
        self.process.stdin.write("\t".join(fields).encode() + b"\n")
        self.process.stdin.flush()
        return self.process.stdout.readline().decode().rstrip("\n")


def output(*command):
    done = subprocess.run(command, env=ENVIRONMENT, capture_output=True, check=False)
    return None if done.returncode else done.stdout.decode("utf-8", "surrogateescape")


def grouped(triples):
    found = {}
    for section, key, value in triples:
        found.setdefault((section, key), []).append(value)
    return found


glib = ctypes.CDLL("libglib-2.0.so.0")
for name in ("g_key_file_new", "g_key_file_get_groups", "g_key_file_get_keys", "g_key_file_get_value"):
    getattr(glib, name).restype = ctypes.c_void_p


def glib_strings(vector):
    texts = ctypes.cast(vector, ctypes.POINTER(ctypes.c_char_p))
    found = []
    while vector and texts[len(found)] is not None:
        found.append(texts[len(found)])
    glib.g_strfreev(ctypes.c_void_p(vector))
    return found


def keyfile(path):
    file = ctypes.c_void_p(glib.g_key_file_new())
    try:
        if not glib.g_key_file_load_from_file(file, str(path).encode(), 2, None):  # 2: with translations
            return None
        found = {}
        for group in glib_strings(glib.g_key_file_get_groups(file, None)):
            for key in glib_strings(glib.g_key_file_get_keys(file, group, None, None)):
                value = ctypes.c_void_p(glib.g_key_file_get_value(file, group, key, None))
                text = ctypes.cast(value, ctypes.c_char_p).value.decode("utf-8", "surrogateescape")
                found[group.decode(), key.decode()] = [text]
                glib.g_free(value)
        return found
    finally:
        glib.g_key_file_free(file)


def python(path, **options):
    parser = configparser.RawConfigParser(strict=False, allow_no_value=True, default_section="\0", **options)
    try:
        with open(path, encoding="utf-8", newline=None) as file:
            parser.read_file(file)
    except (configparser.Error, UnicodeError, AttributeError):  # Python 3.11 on a continued key without a value
        return None
    return {(section, key): [value] for section in parser.sections() for key, value in parser[section].items()}


def python_semicolon(path):
    """As fail2ban, supervisor and ansible read their files."""
    return python(path, inline_comment_prefixes=(";",))


def systemd(path):
    """A model of systemd.syntax(7)."""
    triples, section, pending = [], "", ""
    with open(path, encoding="utf-8", errors="surrogateescape", newline="\n") as file:
        for line in file.read().split("\n"):
            if line.lstrip()[:1] in ("#", ";") and line.strip():
                continue
            line = pending + line
            if (len(line) - len(line.rstrip("\\"))) % 2:
                pending = line[:-1] + " "
                continue
            pending, text = "", line.strip()
            if text[:1] == "[":
                if text[-1] != "]":
                    return None
                section = text[1:-1]
            elif text:
                key, equals, value = text.partition("=")
                if not equals:
                    return None
                triples.append((section, key.rstrip(), value.lstrip()))
    return grouped(triples)


def git(path):
    listed = output("git", "config", "--file", str(path), "--no-includes", "--list", "-z")
    if listed is None:
        return None
    triples = []
    for entry in listed.split("\0")[:-1]:
        name, newline, value = entry.partition("\n")
        section, _, key = name.rpartition(".")
        triples.append((section, key, value if newline else None))
    return grouped(triples)


def mysql(path):
    with open(path, "rb") as file:
        groups = re.findall(rb"^\s*\[([^\]\n]*)\]", file.read(), re.MULTILINE)
    triples = []
    for group in dict.fromkeys(name.decode("utf-8", "surrogateescape") for name in groups):
        listed = output("my_print_defaults", f"--defaults-file={path}", group)
        if listed is None:
            return None
        for option in re.split(r"\n(?=--|\Z)", listed)[:-1]:
            key, equals, value = option[2:].partition("=")
            triples.append((group, key, value if equals else None))
    return grouped(triples)


READER = r"""ini_set("display_errors", "0");
while (($path = fgets(STDIN)) !== false) {
    [$path, $mode] = explode("\t", rtrim($path, "\n"));
    echo json_encode(@parse_ini_file($path, true, $mode === "raw" ? INI_SCANNER_RAW : INI_SCANNER_NORMAL),
                     JSON_INVALID_UTF8_SUBSTITUTE | JSON_UNESCAPED_UNICODE), "\n";
}"""
php_server = []


def php(path, mode="normal"):
    if not php_server:
        php_server.append(Server("php", "-n", "-r", READER))
    read = json.loads(php_server[0].ask(str(path), mode))
    if read is False:
        return None
    found = {}
    for name, value in (read.items() if read else ()):
        is_section = isinstance(value, dict) or value == []
        for key, text in (value or {}).items() if is_section else [(name, value)]:
            found[name if is_section else "", key] = text if isinstance(text, list) else [text]
    return found


def php_raw(path):
    return php(path, "raw")


def git_name(section, key):
    """Returns git's names: `[remote "origin"]` is the section `remote.origin`."""
    quoted = re.fullmatch(r'([^"\s]+)\s*"(.*)"', section)
    section = f"{quoted[1].lower()}.{quoted[2]}" if quoted else section.lower()
    return section, key.lower()


store_server = []
STORE = pathlib.Path(__file__).parents[2] / "build/release/benchmarks/benchmark_fidelity_store"


def store(path):
    """The library itself, by its records. It looks up a key in the first section of a name."""
    if not store_server:
        store_server.append(Server(STORE, "read"))
    return grouped(json.loads(store_server[0].ask(str(path))))


# By dialect: the readers, all of which have to see exactly the edit, and how the owner spells a name.
SAME = lambda section, key: (section, key)
LOWER = lambda section, key: (section, key.lower())
OWNERS = {"desktop": ([keyfile], SAME), "systemd": ([systemd], SAME), "common": ([python], LOWER),
          "python": ([python], LOWER), "python;": ([python_semicolon], LOWER), "git": ([git], git_name),
          "mysql": ([mysql], SAME), "php": ([php, php_raw], SAME),
          "store": ([store], lambda section, key: (section.lower(), key.lower()))}
