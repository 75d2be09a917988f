#!/bin/sh
# docs/embedding.md shows the program that is built here, and it keeps a file:
# keeper.sh KEEPER SOURCE-TREE
set -eu
keep=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sed -n '/^```c$/,/^```$/{/^```/d;p}' "$source/docs/embedding.md" |
    diff -u "$source/tests/package/keeper.c" -

cd "$work"
kept() { # TEXT PRINTED STATUS [BASE]
    printf "$1" >notes
    status=0
    "$keep" notes ${4:+"$4"} >printed 2>trouble || status=$?
    printf "$2" | diff -u - printed && [ "$status" = "$3" ] || {
        echo "ends with $status, not $3" >&2
        exit 1
    }
}
kept 'a\nb\nc\n' 'main@1\n' 0
kept 'A\nb\nc\n' 'main@2\n' 0 main@1
kept 'a\nb\nC\n' 'main@3\n' 0 main@1
kept 'A\nb\nC\n' 'main@3\n' 0 main@3
kept 'a\nb\nc!\n' \
    'A\nb\n<<<<<<< notes\nc!\n||||||| main@1\nc\n=======\nC\n>>>>>>> main@3\n' 1 main@1
kept 'x\n' '' 2 main@9
grep -q '^keep: notes.tdm: ' trouble
