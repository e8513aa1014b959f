"""The settings files of some Debian packages, and the keys to edit in them."""
import collections
import pathlib
import re
import subprocess

PACKAGES = """adwaita-icon-theme avahi-daemon bluez breeze-icon-theme cinder-common cinnamon-common colord cups-daemon
fail2ban firewalld gdm3 glance-common gnome-settings-daemon hicolor-icon-theme konsole libvirt-daemon lightdm
mariadb-common modemmanager network-manager nova-common packagekit php8.2-cli polkitd pulseaudio samba-common sddm
supervisor systemd tuned udisks2 unattended-upgrades upower virt-manager vlc-bin xfce4-settings""".split()
NAME = re.compile(r"\.(ini|conf|cnf|cfg|desktop|theme|colors|profile|service|socket|timer|target|mount|path|slice|link|"
                  r"network|directory)(-\w+)?$")
HEADER = re.compile(rb"\[([^\[\]]+)\]\s*$")
KEY = re.compile(rb"[ \t]*([^=;#\[]*[^=;#\[\s])[ \t]*=")
PLAIN = re.compile(rb"([A-Za-z0-9][\w.-]*)[ \t]*=[ \t]*([A-Za-z0-9_./-]+)[ \t]*\r?\n?$")

# The old value is from `start` to `end`.
Key = collections.namedtuple("Key", "section name start end")


def plain_keys(data):
    """Returns the keys below a header that have a plain value and whose name and section occur only once."""
    section, sections, names, keys, offset = None, collections.Counter(), collections.Counter(), [], 0
    lines = data.splitlines(keepends=True)
    for before, line, after in zip([b""] + lines, lines, lines[1:] + [b""]):
        if header := HEADER.match(line):
            section = header[1]
            sections[section.lower()] += 1
        elif section is not None and (key := KEY.match(line)):
            names[section.lower(), key[1].lower()] += 1
            plain = PLAIN.match(line)
            if plain and not before.rstrip().endswith(b"\\") and (not after.strip() or not after[:1].isspace()):
                keys.append(Key(section, plain[1], offset + plain.start(2), offset + plain.end(2)))
        offset += len(line)
    return [key for key in keys if sections[key.section.lower()] == 1 and
            names[key.section.lower(), key.name.lower()] == 1 and key.section.isascii()]


def chosen(data):
    """Returns the first, the middle and the last of the plain keys."""
    keys = plain_keys(data)
    return [keys[i] for i in sorted({0, len(keys) // 2, len(keys) - 1})] if keys else []


def installed(folder):
    """Returns the path and the bytes of each settings file of the packages. Identical files count once."""
    packages, files = folder / "packages", folder / "files"
    packages.mkdir(parents=True, exist_ok=True)
    missing = [name for name in PACKAGES if not list(packages.glob(f"{name}_*.deb"))]
    if missing:
        subprocess.run(["apt-get", "download", "-q", *missing], cwd=packages, check=True)
    for package in packages.glob("*.deb"):
        subprocess.run(["dpkg-deb", "-x", package, files], check=True)
    by_content = {}
    for path in sorted(files.rglob("*")):
        if NAME.search(path.name) and path.is_file() and not path.is_symlink():
            by_content.setdefault(path.read_bytes(), path)
    return [(path, data) for data, path in by_content.items()]
