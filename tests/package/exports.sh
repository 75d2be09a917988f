#!/bin/sh
# The dynamic symbols of a shared library are exactly what its header declares:
# exports.sh LIBRARY HEADER
set -eu
export LC_ALL=C
exported=$(nm -D --defined-only "$1" | awk '{ print $NF }' | sort)
declared=$(sed -n '/^NORVIK_API/{:a;/[(;]/!{N;ba};s/\n/ /g;s/[[(;].*//;s/.*[ *]//p}' "$2" | sort)
[ "$exported" = "$declared" ] || {
    printf '%s exports:\n%s\n%s declares:\n%s\n' "$1" "$exported" "$2" "$declared" >&2
    exit 1
}
