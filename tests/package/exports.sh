#!/bin/sh
# The dynamic symbols of a shared library are exactly those listed: exports.sh LIBRARY LIST
set -eu
export LC_ALL=C
nm -D --defined-only "$1" | awk '{ print $NF }' | sort | diff -u "$2" - || {
    echo "$1 does not export what $2 lists" >&2
    exit 1
}
