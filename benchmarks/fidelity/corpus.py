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
NAME = re.compile(r"(\.(ini|conf|cnf|cfg|desktop|theme|colors|profile|service|socket|timer|target|mount|path|slice|"
                  r"link|network|netdev|directory|rc)(-\w+|\.cli)?|/config)$")
# The first pattern that PACKAGE/PATH matches names the owner. All other files are read with Python's configparser.
KINDS = [(re.compile(pattern), owner) for pattern, owner in (
    (r"\.(service|socket|timer|target|mount|path|slice|link|network|netdev)$|/systemd/.*\.conf$", "systemd"),
    (r"\.(desktop|directory|theme)$", "desktop"),
    (r"^(bluez|colord|gdm3|lightdm|modemmanager|network-manager|packagekit|polkitd|udisks2|upower)/.*conf", "desktop"),
    (r"/\.gitconfig$", "git"), (r"\.cnf$", "mysql"), (r"^php.*(php\.ini|\.ini$|fpm/.*\.conf$)", "php"),
    (r"^fail2ban/|^supervisor/|/ansible\.cfg$", "python;"), (r"/(setup\.cfg|tox\.ini)$", "python"), (r"", "common"))]
CONTINUED = b'[alias]\n\tup = !git fetch && \\\n\t\tgit rebase\n[core]\n\tpager = "less; #1" ; in color\n\tautocrlf\n'
# A header, or a line with a key and the lines that continue its value: the indentation, the section, the key, the
# separator and the text of the value. Inside a continued value there may be comments and, if indented, empty lines.
LINE = {how: re.compile(rb"^([ \t]*)(?:\[([^\n]*)\][ \t\r]*(?:[;#].*)?$|([^\s=;#\[" + colon + rb"][^\n=" + colon +
                        rb"]*?)[ \t]*(?:([=" + colon + rb"])[ \t]*(" + value + rb")|\r?$))", re.MULTILINE)
        for how, colon, value in (
            (None, b"", rb".*"), ("backslash", b"", rb"(?:[^\\\n]|\\\r?\n(?:[ \t]*[;#].*\n)*|\\.)*"),
            ("indent", b":", rb".*(?:\n(?:[ \t\r]*(?:[;#].*)?\n)*\1[ \t]+[^\s;#].*)*"))}

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
    if missing := [name for name in PACKAGES if not list((folder / "packages").glob(f"{name}_*.deb"))]:
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
        for path in paths[::-(-len(paths) // 60) or 1]:  # at most 60 files
            path_name = str(path.relative_to(folder / "files"))
            owner = next(owner for pattern, owner in KINDS if pattern.search(path_name))
            found.setdefault((path.read_bytes(), owner), File(path_name, path.read_bytes(), owner))
    return [*found.values(), *git_examples(folder), File("continued/.gitconfig", CONTINUED, "git")]


def value_length(text, values):
    """Returns the length of the value at the start of the text. What the owner does not read is a comment after it."""
    for written in (quote + value + quote for value in filter(None, values) for quote in ("", '"', "'")):
        written = written.encode("utf-8", "surrogateescape")
        if text.startswith(written) and text[len(written):].lstrip()[:1] in (b"", b"#", b";"):
            return len(written)
    return len(text.rstrip())


def keys_of(file, view):
    """Returns the keys that the owner sees in the file, one for each line, in file order."""
    owner, found, section = owners.ALL[file.owner], [], ""
    for match in LINE[owner.continued].finditer(file.data):
        _, header, name, separator, text = match.groups()
        if header is not None:
            section = header.decode("utf-8", "surrogateescape").strip()
            continue
        name, text = name.decode("utf-8", "surrogateescape").rstrip(), (text or b"").rstrip(b"\r")
        seen = owner.spelled(section, name)
        if seen not in view or (file.owner == "common" and not separator):
            continue
        start = match.start(5) if separator else match.end(3)
        kinds = [kind for kind, is_it in (
            ("continued", b"\n" in text), (";", b";" in text), ("#", b"#" in text),
            ("quoted", text[:1] in (b'"', b"'")), ("no value", not separator), ("empty", separator and not text))
                 if is_it]
        found.append(Key(section, name, seen, view[seen], start, start + value_length(text, view[seen]), kinds))
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
