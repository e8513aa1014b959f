"""The settings files of some Debian packages, who owns them, and the keys to edit in them."""
import collections
import pathlib
import re
import subprocess

import owners

PACKAGES = """adwaita-icon-theme ansible ansible-core avahi-daemon barman bluez breeze-icon-theme certbot cinder-common
cinnamon-common cloud-init colord cups-daemon fail2ban firewalld gdm3 git-buildpackage git-doc glance-common
gnome-control-center gnome-settings-daemon heat-common hicolor-icon-theme keystone konsole libvirt-daemon lightdm
mariadb-common mariadb-server mariadb-test-data mercurial-common modemmanager mopidy network-manager neutron-common
nova-common offlineimap3 packagekit php8.2-common php8.2-fpm plasma-desktop polkitd pulseaudio python3-numpy radicale
samba-common sddm supervisor systemd systemd-resolved tuned udisks2 unattended-upgrades upower uwsgi-core vdirsyncer
virt-manager vlc-bin xfce4-settings""".split()
MOST = 60  # files of one package
NAME = re.compile(r"(\.(ini|conf|cnf|cfg|desktop|theme|colors|profile|service|socket|timer|target|mount|path|slice|link|"
                  r"network|netdev|directory|rc)(-\w+|\.cli)?|/config)$")
# The first pattern that PACKAGE/PATH matches names the owner. All other files are read with Python's configparser.
KINDS = [(re.compile(pattern), owner) for pattern, owner in (
    (r"\.(service|socket|timer|target|mount|path|slice|link|network|netdev)$|/systemd/.*\.conf$", "systemd"),
    (r"\.(desktop|directory|theme)$", "desktop"),
    (r"^(bluez|colord|gdm3|lightdm|modemmanager|network-manager|packagekit|polkitd|udisks2|upower)/.*\.conf$", "desktop"),
    (r"/\.gitconfig$", "git"),
    (r"\.cnf$", "mysql"),
    (r"^php.*(php\.ini|\.ini$|fpm/.*\.conf$)", "php"),
    (r"^fail2ban/|^supervisor/|/ansible\.cfg$", "python;"),
    (r"/(setup\.cfg|tox\.ini)$", "python"),
    (r"", "common"))]
CONTINUED = b"""[alias]
\tup = !git fetch && \\\\
\t\tgit rebase
[core]
\twhitespace = trailing-space, \\
\t\tspace-before-tab
\tpager = "less; #1" ; in a window
\tautocrlf
""".replace(b"\\\\", b"\\")

File = collections.namedtuple("File", "name data owner")
# `seen` is the owner's name of the key, and `values` are what it reads. The text of the value is from `start` to `end`,
# without a comment after it, as the owner reads it.
Key = collections.namedtuple("Key", "section name seen values start end kinds")


def git_examples(folder):
    """Returns the examples in git's documentation, because no package has configuration files of git."""
    texts = [path.read_text() for path in sorted((folder / "files/git-doc/usr/share/doc/git/html").rglob("*.txt"))]
    blocks = [block for text in texts for block in
              re.split(r"^(?:-{4,}|\.{4,})\n", text, flags=re.M) + re.findall(r"(?:^[ \t]+\S.*\n|^\n)+", text, re.M)
              if re.search(r'^\s*\[[\w.-]+( ".*")?\]', block, re.M)]
    return [File(f"git-doc/{i}/.gitconfig", block.encode(), "git") for i, block in enumerate(dict.fromkeys(blocks))]


def installed(folder):
    """Returns the settings files of the packages. Identical files count once."""
    (folder / "packages").mkdir(parents=True, exist_ok=True)
    packages = {name: list((folder / "packages").glob(f"{name}_*.deb")) for name in PACKAGES}
    if missing := [name for name, found in packages.items() if not found]:
        subprocess.run(["apt-get", "download", "-q", *missing], cwd=folder / "packages", check=True)
    found = {}
    for name in PACKAGES:
        target = folder / "files" / name
        if not target.exists():
            target.mkdir(parents=True)
            package = next((folder / "packages").glob(f"{name}_*.deb"))
            subprocess.run(["dpkg-deb", "-x", package, target], check=True)
        paths = [path for path in sorted(target.rglob("*"))
                 if NAME.search(str(path)) and path.is_file() and not path.is_symlink()]
        for path in paths[::-(-len(paths) // MOST) or 1]:
            path_name = str(path.relative_to(folder / "files"))
            owner = next(owner for pattern, owner in KINDS if pattern.search(path_name))
            found.setdefault((path.read_bytes(), owner), File(path_name, path.read_bytes(), owner))
    return [*found.values(), *git_examples(folder), File("continued/.gitconfig", CONTINUED, "git")]


def logical_lines(data, style):
    """Returns the offset and the bytes of each line, with the lines that continue it."""
    found, skipped, offset, indent, is_open = [], b"", 0, None, False
    for line in re.findall(rb"[^\n]*\n|[^\n]+", data):
        text, width = line.strip(), len(line) - len(line.lstrip())
        is_comment = text[:1] in (b"#", b";")
        if style == "indent" and (is_comment or not text):  # may be inside a value
            skipped += line
            continue
        if is_open or (style == "indent" and indent is not None and width > indent):
            found[-1] = found[-1][0], found[-1][1] + skipped + line
        else:
            found.append((offset + len(skipped), line))
            indent = None if text[:1] == b"[" else width
        if not (is_open and is_comment):
            backslashes = re.search(rb"\\*\r?\n?$", line)[0].count(b"\\")
            is_open = style == "backslash" and backslashes % 2 == 1 and not is_comment
        offset, skipped = offset + len(skipped) + len(line), b""
    return found


def value_length(text, values):
    """Returns the length of the value at the start of the text. What the owner does not read is a comment after it."""
    for value in filter(None, values):
        value = value.encode("utf-8", "surrogateescape")
        for written in (value, b'"' + value + b'"', b"'" + value + b"'"):
            rest = text[len(written):].lstrip()
            if text.startswith(written) and (not rest or rest[:1] in (b"#", b";")):
                return len(written)
    return len(text.rstrip())


def keys_of(file, view):
    """Returns the keys that the owner sees in the file, one for each line, in file order."""
    owner = owners.ALL[file.owner]
    line_with_key = re.compile(rb"[ \t]*([^\s%b;#\[][^\r\n%b]*?)[ \t]*(?:[%b][ \t]*(.*?))?[ \t]*\r?\n" %
                               ((owner.separators,) * 3))
    found, section = [], ""
    for offset, line in logical_lines(file.data, owner.continued):
        if header := re.match(rb"[ \t]*\[([^\n]*?)\][ \t]*(?:[;#][^\n]*)?\r?\n", line + b"\n"):
            section = header[1].decode("utf-8", "surrogateescape").strip()
        elif match := line_with_key.match(line + b"\n"):
            name = match[1].decode("utf-8", "surrogateescape")
            seen = owner.spelled(section, name)
            if seen not in view or (file.owner == "common" and match[2] is None):
                continue
            start = offset + (match.end(1) if match[2] is None else match.start(2))
            text = file.data[start:offset + len(line)].rstrip(b"\r\n")
            kinds = [kind for kind, is_it in (
                ("continued", b"\n" in text), (";", b";" in text), ("#", b"#" in text),
                ("quoted", text[:1] in (b'"', b"'")), ("no value", match[2] is None), ("empty", match[2] is not None and not text)) if is_it]
            end = start + (len(text.rstrip()) if b"\n" in text else value_length(text, view[seen]))
            found.append(Key(section, name, seen, view[seen], start, end, kinds))
    counts = collections.Counter(key.seen for key in found)
    for key in found:
        key.kinds.extend(["repeated"] if counts[key.seen] > 1 else [])
    return found


def chosen(keys):
    """Returns the first, the middle and the last key, and the first of each awkward kind. Of equal keys, the last."""
    picked = keys[:1] + keys[len(keys) // 2:][:1] + keys[-1:]
    for kind in ("continued", ";", "#", "repeated", "quoted", "empty", "no value"):
        picked += [key for key in keys if kind in key.kinds][:1]
    last = {key.seen: key for key in keys}
    return [last[seen] for seen in dict.fromkeys(key.seen for key in picked)]
