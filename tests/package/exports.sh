#!/bin/sh
# The symbols of a library are exactly what its headers declare: exports.sh LIBRARY HEADER...
set -eu
export LC_ALL=C
library=$1
shift
case $library in
*.a) which=-g ;;
*) which=-D ;;
esac
exported=$(nm $which --defined-only "$library" | awk 'NF == 3 { print $3 }' | sort)
declared=$(sed -n '/^NORVIK_API/{:a;/[(;]/!{N;ba};s/\n/ /g;s/[[(;].*//;s/.*[ *]//p}' "$@" | sort)
[ "$exported" = "$declared" ] || {
    printf '%s exports:\n%s\n%s declares:\n%s\n' "$library" "$exported" "$*" "$declared" >&2
    exit 1
}
