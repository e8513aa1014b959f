#!/bin/sh
# Runs the examples of the manual page, each on new files: examples.sh PROGRAM PAGE SCRATCH_DIR
set -eu
program=$1 page=$2 scratch=$3
rm -rf "$scratch"
mkdir -p "$scratch/old/etc/systemd"
cd "$scratch"
PATH=$(dirname "$program"):$PATH HOME=$PWD/new

printf '[Journal]\n#Storage=auto\nSystemMaxUse=\n' >old/etc/systemd/journald.conf
printf '[old]\nx = 1\n\n[net]\nhost = localhost\nport = 80\n' >old/app.ini
gzip -c old/app.ini >old/app.ini.gz
printf '[Desktop Entry]\nKeywords=mail;\n' >old/app.desktop
printf '[Service]\nEnvironment=A=1\nExecStart=/bin/true\n' >old/app.service
printf '[user]\n\temail = me # at home\n' >old/work.inc
printf '[options]\ninstall_requires =\n    mail\npackages = app\n' >old/setup.cfg

# One script for each example. The page must show it as it is here, so it has no escapes.
sed -n '/^# EXAMPLES/,/^# SEE ALSO/p' "$page" |
    awk '/^```/ { inside = !inside; count += inside; next } inside { print >sprintf("%02d.sh", count) } /\\/ { exit 1 }'
sed -i 's,/etc/,etc/,g' ./*.sh
for example in ??.sh; do
    echo "== ${example%.sh}"
    rm -rf new
    cp -r old new
    (cd new && sh -eu "../$example") || echo "status $?"
    diff -rN old new || true
done >log 2>&1

diff - log <<'EOF'
== 01
200M
diff -rN old/etc/systemd/journald.conf new/etc/systemd/journald.conf
3c3
< SystemMaxUse=
---
> SystemMaxUse=200M
== 02
diff -rN old/.my.cnf new/.my.cnf
0a1,3
> [client]
> port = 3307
> host = db.lan
== 03
6c6
< port = 80
---
> port = 8080
== 04
zk_settings: app.ini: [net] has no key timeout
30
== 05
diff -rN old/app.ini new/app.ini
5c5
< host = localhost
---
> host = ::1
== 06
zk_settings: app.ini: [net] has no key proxy
diff -rN old/app.ini new/app.ini
1,3d0
< [old]
< x = 1
< 
== 07
diff -rN old/app.desktop new/app.desktop
2c2
< Keywords=mail;
---
> Keywords=mail;web;
== 08
A=1
B=2
diff -rN old/app.service new/app.service
2c2
< Environment=A=1
---
> Environment=B=2
== 09
diff -rN old/app.ini new/app.ini
6c6
< port = 80
---
> port = 8080
== 10
host: localhost
port: 80
== 11
diff -rN old/work.inc new/work.inc
2c2
< 	email = me # at home
---
> 	email = me@example.org # at home
== 12
diff -rN old/setup.cfg new/setup.cfg
3c3,4
<     mail
---
>     requests
>     rich
EOF
