#!/bin/sh
# Fails if the manual in the directory $1 has a dead link, or markup that Doxygen did not understand.
set -eu
cd "$1"
status=0
complain() {
    echo "docs: $1"
    status=1
}

for page in *.html; do
    # Doxygen's own indexes (#index_) have dead links in some versions.
    links=$(grep -oE ' (href|src|data)="[^"]*"' "$page" | cut -d'"' -f2 |
        grep -vE '^(https?:|javascript:|#index_)' | sort -u)
    for link in $links; do
        file=${link%%#*} anchor=${link#"${link%%#*}"}
        file=${file:-$page}
        [ -e "$file" ] || { complain "$page: dead link: $link"; continue; }
        [ -z "$anchor" ] || grep -qE "(id|name)=\"${anchor#\#}\"" "$file" || complain "$page: no such place: $link"
    done
    # Outside code, a backslash or an opening quotation mark is markup that Doxygen did not understand.
    stray=$(sed -E -e '/<pre/,/<\/pre>/d' -e '/<script/,/<\/script>/d' -e '/<div class="line">/d' \
        -e 's,<(code|span class="tt")>([^<]|</?a[^>]*>)*</(code|span)>,,g' -e 's,<[^>]*>,,g' "$page" |
        grep -E '\\|&lsquo;' | cut -c1-200) || true
    [ -z "$stray" ] || complain "$page: stray markup: $stray"
done
exit "$status"
