// Small texts written as words, and random ones.
#pragma once

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "seeds.h"

// "a b c" as a text of three lines; "_" is a blank line, and a "$" behind the last word leaves its
// line without a newline.
std::string lines_of(std::string_view words);

// The lines of a text, each with its newline; the last may lack it.
std::vector<std::string> split_lines(std::string_view text);

// Random lines: `repeated` of 1 (from 0 to 1) are blank lines, braces and such, which stand in many
// places; the others are new, `quoted` of 1 of them like records of a container.
struct text_maker {
    std::mt19937 random;
    double repeated = 0;
    double quoted = 0;
    bool doubles = false;  // some edits put a second copy of lines elsewhere

    std::vector<std::string> text(size_t lines);
    std::string line();
    size_t below(size_t end) { return std::uniform_int_distribution<size_t>(0, end - 1)(random); }
    bool chance(double share) {
        return std::uniform_real_distribution<double>(0, 1)(random) < share;
    }

    // A copy with a few insertions, deletions, changes and moved lines.
    std::vector<std::string> changed(const std::vector<std::string> &lines);
    // The same of a whole text; now and then its last line has no newline.
    std::string changed(const std::string &text);
};

// The lines joined; `open_end` takes the last newline off.
std::string joined(const std::vector<std::string> &lines, bool open_end = false);
