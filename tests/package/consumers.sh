#!/bin/sh
# Programs of others against the installed package: consumers.sh BUILD-TREE SOURCE-TREE
set -eu
build=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >"$work/log" || {
    cat "$work/log"
    exit 1
}

for file in bin/tdm lib/libnorviktdm.so lib/libnorvikruntime.so lib/libnorviktdm.a \
    lib/libnorvikruntime.a lib/libnorvikhistory.so lib/libnorvikhistory.a \
    include/norviktdm/tdm.h include/norviktdm/runtime.h include/norviktdm/history.h \
    share/man/man1/tdm.1; do
    [ -e "$prefix/$file" ] || {
        echo "$file is not installed" >&2
        exit 1
    }
done

# The command and the libraries find one another wherever the tree lies.
mv "$prefix" "$work/moved"
prefix=$work/moved
"$prefix/bin/tdm" --version

export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
flags="-std=c11 -Wall -Wextra -Wpedantic -Werror"
program() { # NAME SOURCE: against the shared libraries, as the README says
    # shellcheck disable=SC2046,SC2086 # the flags are words
    cc $flags -o "$work/$1" "$2" $(pkg-config --cflags --libs norviktdm) -Wl,-rpath,"$prefix/lib"
}
# A host with a service of its own, both ways.
program own_service "$source/tests/package/own_service.c"
(cd "$work" && ./own_service)
# shellcheck disable=SC2046,SC2086
cc $flags $(pkg-config --cflags norviktdm) -o "$work/own_static" \
    "$source/tests/package/own_service.c" \
    "$prefix/lib/libnorviktdm.a" "$prefix/lib/libnorvikruntime.a"
(cd "$work" && ./own_static)

# The whole of history.h and changes.h, both ways, and the headers as C++.
mkdir "$work/shared_host" "$work/static_host"
for name in changes history; do
    # shellcheck disable=SC2046,SC2086
    cc $flags -D_DEFAULT_SOURCE -o "$work/$name" "$source/tests/package/$name.c" \
        $(pkg-config --cflags --libs norvikhistory) -Wl,-rpath,"$prefix/lib" -pthread
    (cd "$work/shared_host" && ../"$name")
    # shellcheck disable=SC2046,SC2086
    cc $flags -D_DEFAULT_SOURCE -o "$work/$name" "$source/tests/package/$name.c" \
        $(pkg-config --cflags norvikhistory) "$prefix/lib/libnorvikhistory.a" -lstdc++ -pthread
    (cd "$work/static_host" && ../"$name")
done
# shellcheck disable=SC2046,SC2086
printf '#include <norviktdm/history.h>\n' |
    c++ -std=c++20 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -x c++ - \
        $(pkg-config --cflags norvikhistory)

cmake -G Ninja -S "$source/tests/package" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" >"$work/log" &&
    cmake --build "$work/cmake" >>"$work/log" || {
    cat "$work/log"
    exit 1
}
(cd "$work" && cmake/own_service && cmake/changes)

# The README's program is the first block of C in it, and that of docs/embedding.md too.
program_of() { # DOCUMENT: its program
    sed -n '/^```c$/,/^```$/{/^```/d;p}' "$source/$1"
}
program_of README.md >"$work/readme.c"
program readme "$work/readme.c"
cd "$work"
printf 'one\ntwo\n' >notes.txt
./readme
"$prefix/bin/tdm" verify notes.tdm
rm notes.tdm

program_of docs/embedding.md >keep.c
# shellcheck disable=SC2046,SC2086
cc $flags -o keep keep.c $(pkg-config --cflags --libs norvikhistory) -Wl,-rpath,"$prefix/lib"
kept() { # TEXT PRINTED STATUS [BASE]
    printf "$1" >notes
    status=0
    ./keep notes ${4:+"$4"} >printed 2>trouble || status=$?
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
