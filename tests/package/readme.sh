#!/bin/sh
# What the README shows is what the command prints: readme.sh BUILD-TREE SOURCE-TREE
# Identifiers and dates differ from run to run and are not compared.
set -eu
PATH=$1/bin:$PATH
export LC_ALL=C.UTF-8
unset SOURCE_DATE_EPOCH VT_LANG_CODESET
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

masked() {
    sed -E 's/ [0-9a-f]{8}  / IDENTIFI  /; s/[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}Z/DATE/'
}
sed -n '/^```console$/,/^```$/{/^```/d;p}' "$2/README.md" | masked >"$work/shown"
mkdir "$work/folder"
cd "$work/folder"
sed -n 's/^\$ //p' "$work/shown" | while read -r line; do
    printf '$ %s\n' "$line"
    sh -c "$line" 2>&1 </dev/null || true
done | masked >"$work/printed"
[ -s "$work/shown" ] && diff -u "$work/shown" "$work/printed"
