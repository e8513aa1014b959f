"""The lines of a settings file that have a key, and which of them to edit."""
import collections
import re

HEADER = re.compile(rb"[ \t]*\[(.*?)\][ \t]*(?:[;#].*)?\r?\n?$")
LINES = {separator: re.compile(rb"[ \t]*([^\s=;#\[" + separator + rb"][^\r\n=" + separator + rb"]*?)[ \t]*(?:([=" +
                               separator + rb"])[ \t]*([^\n]*?))?[ \t]*\r?$") for separator in (b"", b":")}
BACKSLASH = ("systemd", "git")  # dialects that continue a value with it
PYTHON = ("common", "python", "python;")  # continue a value by indentation, and separate key and value by `:` as well

# `name` and `values` are the owner's. The lines of the key are from `line` to `after`, the text of the value from
# `start` to `end`: without a comment after it, as the owner reads it.
Key = collections.namedtuple("Key", "section text name values line after start end kinds")


def logical_lines(data, dialect):
    """Returns the offset and the bytes of each line, with the lines that continue it."""
    found, skipped, offset, indent, is_open = [], b"", 0, None, False
    for line in re.findall(rb"[^\n]*\n|[^\n]+", data):
        text = line.strip()
        is_comment = text[:1] in (b"#", b";")
        width = len(line) - len(line.lstrip())
        if dialect in PYTHON and (is_comment or not text):  # may be inside a value
            skipped += line
            continue
        if is_open or (dialect in PYTHON and indent is not None and width > indent):
            found[-1] = found[-1][0], found[-1][1] + skipped + line
        else:
            found.append((offset + len(skipped), line))
            indent = None if text[:1] == b"[" else width
        if not (is_open and is_comment):
            backslashes = len(line.rstrip(b"\r\n")) - len(line.rstrip(b"\r\n").rstrip(b"\\"))
            is_open = dialect in BACKSLASH and backslashes % 2 == 1 and not is_comment
        offset, skipped = offset + len(skipped) + len(line), b""
    return found


def value_end(text, values):
    """Returns how long the value at the start of the text is. The rest is a comment, by what the owner reads."""
    for value in filter(None, values):
        value = value.encode("utf-8", "surrogateescape")
        for written in (value, b'"' + value + b'"', b"'" + value + b"'"):
            rest = text[len(written):]
            if text.startswith(written) and (not rest or rest.lstrip()[:1] in (b"#", b";")):
                return len(written)
    return len(text)


def keys_of(data, dialect, view, spelled):
    """Returns the keys in file order that the owner sees."""
    found, section = [], ""
    for offset, line in logical_lines(data, dialect):
        first = line.split(b"\n")[0]
        if header := HEADER.match(first):
            section = header[1].decode("utf-8", "surrogateescape").strip()
            continue
        match = LINES[b":" if dialect in PYTHON else b""].match(first)
        if not match:
            continue
        text = match[1].decode("utf-8", "surrogateescape")
        name = spelled(section, text)
        if name not in view:
            continue
        start = offset + (match.start(3) if match[2] else match.end(1))
        body = data[start:offset + len(line)].rstrip()
        kinds = [kind for kind, is_it in (
            ("continued", b"\n" in body), (";", b";" in body), ("#", b"#" in body),
            ("quoted", body[:1] in (b'"', b"'")), ("no value", not match[2])) if is_it]
        end = start + (len(body) if b"\n" in body else value_end(body, view[name]))
        found.append(Key(section, text, name, view[name], offset, offset + len(line), start, end, kinds))
    counts = collections.Counter(key.name for key in found)
    for key in found:
        key.kinds.extend(["repeated"] if counts[key.name] > 1 else [])
    last = {key.name: key for key in found}  # the one that counts
    return [last[key.name] for key in found]


def chosen(keys):
    """Returns the first, the middle and the last key, and the first of each awkward kind."""
    picked = [keys[0], keys[len(keys) // 2], keys[-1]] if keys else []
    for kind in ("continued", ";", "#", "quoted", "no value", "repeated"):
        picked += [key for key in keys if kind in key.kinds][:1]
    return list({key.name: key for key in picked}.values())
