// Containers written out in a test.
#pragma once

#include <string>
#include <string_view>

#include "container_view.h"

// Opens a container with these bytes, called "c".
norvik::container_view opened(std::string_view bytes);

// Two branches, a deleted version, a quoted and an unterminated line.
inline constexpr const char *sound_container =
    "^S db1 1\n"         // 1
    "^V ver4 0 4 7\n"    // 2
    "^V ver6 1 2 6\n"    // 3
    "^V ver5 1 1 5\n"    // 4
    "^B draft 1 0 2\n"   // 5
    "^#^V ver3 0 3 4\n"  // 6
    "^V ver2 0 2 3\n"    // 7
    "^V ver1 0 1 2\n"    // 8
    "^V ver0 0 0 1\n"    // 9
    "^B main 0 0 0\n"    // 10
    "^E elem\n"          // 11
    "^I 0 1 4\n"         // 12
    "a\n"                // 13
    "^I 0 4 1\n"         // 14
    "four\n"             // 15
    "^D 0 2 1\n"         // 16
    "b\n"                // 17
    "^I 0 2 2\n"         // 18
    "^Q ^q\n"            // 19
    "^I 1 1 1\n"         // 20
    "draft\n"            // 21
    "x\n"                // 22
    "^D 0 3 1\n"         // 23
    "c\n"                // 24
    "d\n"                // 25
    "^I 0 3 1\n"         // 26
    "^N end\n";          // 27

// The sound container with the first `from` replaced by `to`.
std::string spoiled_container(std::string_view from, std::string_view to);
