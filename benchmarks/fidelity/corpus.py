"""The settings files of some Debian packages, and who owns them."""
import pathlib
import re
import subprocess

PACKAGES = """adwaita-icon-theme ansible ansible-core avahi-daemon barman bluez breeze-icon-theme certbot cinder-common
cinnamon-common cloud-init colord cups-daemon fail2ban firewalld gdm3 git-buildpackage glance-common
gnome-settings-daemon gnome-control-center heat-common hicolor-icon-theme keystone konsole libvirt-daemon lightdm
mariadb-common mariadb-server mariadb-test-data mercurial-common modemmanager mopidy network-manager neutron-common
nova-common offlineimap3 packagekit php8.2-common php8.2-fpm plasma-desktop polkitd pulseaudio python3-numpy radicale
samba-common sddm supervisor systemd systemd-resolved tuned udisks2 unattended-upgrades upower uwsgi-core vdirsyncer
virt-manager vlc-bin xfce4-settings""".split()
NAME = re.compile(r"(\.(ini|conf|cnf|cfg|desktop|theme|colors|profile|service|socket|timer|target|mount|path|slice|link|"
                  r"network|netdev|directory|gitconfig|rc)(-\w+|\.cli)?|/\.?git(config|modules)|/\.git/config|/config)$")
# What a path (PACKAGE/PATH) matches first owns the file. All other files are read by Python's configparser.
KINDS = [(re.compile(pattern), dialect) for pattern, dialect in (
    (r"\.(service|socket|timer|target|mount|path|slice|link|network|netdev)$|/systemd/.*\.conf$", "systemd"),
    (r"\.(desktop|directory|theme)$", "desktop"),
    (r"^(bluez|colord|gdm3|lightdm|modemmanager|network-manager|packagekit|polkitd|udisks2|upower)/.*\.conf$", "desktop"),
    (r"gitconfig$|\.gitmodules$|\.git/config$", "git"),
    (r"\.cnf$", "mysql"),
    (r"^php.*(php\.ini|\.ini$|fpm/.*\.conf$)", "php"),
    (r"^fail2ban/|^supervisor/|/ansible\.cfg$", "python;"),
    (r"/(setup|tox)\.(cfg|ini)$", "python"))]


# No package has files of git, so git writes some: what `git init`, `git clone` and people write.
GIT = {"git/home/.gitconfig": """user.name=Ada Lovelace; user.email=ada@example.org; core.editor=vim -f; core.pager=less -FRX
alias.st=status -sb; alias.last=log -1 HEAD; alias.graph=log --graph --format="%h %s"
alias.count=!git log --oneline | wc -l; alias.up=!f() { git fetch\\; git rebase\\; }\\; f; init.defaultBranch=main
url.git@example.org:.insteadOf=https://example.org/; color.ui=auto; diff.tool=meld; difftool.meld.cmd=meld "$LOCAL" "$REMOTE"
includeIf.gitdir:~/work/.path=~/.gitconfig-work; credential.helper=; credential.helper=cache --timeout=3600""",
       "git/clone/.git/config": """core.repositoryformatversion=0; core.filemode=true; core.bare=false
remote.origin.url=https://example.org/a.git; remote.origin.fetch=+refs/heads/*:refs/remotes/origin/*
remote.origin.fetch=+refs/pull/*/head:refs/pull/*; branch.main.remote=origin; branch.main.merge=refs/heads/main
branch.issue#12.remote=.; branch.issue#12.merge=refs/heads/main; submodule.lib/qt.url=../qt.git; submodule.lib/qt.active=true
color.branch.current=yellow "#ff0000" bold; format.signature=a \\; b""",
       "git/modules/.gitmodules": """submodule.a.path=a; submodule.a.url=https://example.org/a; submodule.a.ignore=dirty
submodule.lib/b.path=lib/b; submodule.lib/b.url=../b.git; submodule.lib/b.branch=main"""}
# By hand, as people write and as git's manual allows.
BY_HAND = {"git/hand/.gitconfig": b"""# who I am
[user]
\tname = Ada Lovelace ; in full
\temail = "ada@example.org"  # work
    signingkey = 0A1B2C
[core]
    excludesfile = ~/.gitignore
    autocrlf\n    whitespace = trailing-space, \\
        space-before-tab
[alias]
    l = log --graph \\\n        --pretty=format:'%h %s' \\\n        --abbrev-commit
    who = "!git log --format='%an <%ae>' | sort -u # once each"
    say = !echo \\"done\\"
[merge "tool"]
    path = C:\\\\bin
[Remote "Up.Stream"] url = https://example.org/b.git
[remote "Up.Stream"]
    fetch = +refs/heads/*:refs/remotes/up/*
    fetch = +refs/tags/*:refs/tags/*
""", "git/tabs/.git/config": b"""[core]\r\n\tbare=false\r\n\tsymlinks = false\r\n[branch "main"]\r\n\tremote = origin\r\n"""}


def git_files(folder):
    """Writes the files and returns them."""
    for name, edits in GIT.items():
        path = folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(b"")
        for edit in re.split(r"(?<!\\); |\n", edits):
            key, _, value = edit.replace("\\;", ";").partition("=")
            subprocess.run(["git", "config", "--file", path, "--add", key, value], check=True)
    return {name: (folder / name).read_bytes() for name in GIT} | BY_HAND


def dialect_of(path):
    return next((dialect for pattern, dialect in KINDS if pattern.search(path)), "common")


def installed(folder):
    """Returns {PACKAGE/PATH: bytes} of the packages' settings files. Identical files count once."""
    packages, files = folder / "packages", folder / "files"
    packages.mkdir(parents=True, exist_ok=True)
    missing = [name for name in PACKAGES if not list(packages.glob(f"{name}_*.deb"))]
    if missing:
        subprocess.run(["apt-get", "download", "-q", *missing], cwd=packages, check=True)
    for name in PACKAGES:
        if not (files / name).exists():
            files.mkdir(exist_ok=True)
            subprocess.run(["dpkg-deb", "-x", next(packages.glob(f"{name}_*.deb")), files / name], check=True)
    by_content = {}
    for path in sorted(files.rglob("*")):
        name = str(path.relative_to(files))
        if NAME.search(name) and path.is_file() and not path.is_symlink():
            by_content.setdefault((path.read_bytes(), dialect_of(name)), name)
    return {name: data for (data, _), name in by_content.items()} | git_files(folder)
