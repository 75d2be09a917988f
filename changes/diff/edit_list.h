// From pairs of lines that somebody else has found to the edits of one file against the base.
//
// The library's difference stream pairs lines of the base with lines of the file. Here
// 1. the pairs are gathered as runs, the common head and tail among them, and checked against the
//    texts (the library compares hashes);
// 2. the heaviest set of runs that stand in the same order in both texts is kept in place; the
//    others are candidates for moved text;
// 3. what lies between two runs, and short runs with it, is matched once more, line by line
//    (window_match.h);
// 4. what is left between the runs are the edits, brought to one form of several (edit_slide.h), so
//    that two contributors that did the same have the same edit;
// 5. the candidates that lie in removed and in inserted lines, and say something of their own, are
//    the moves.
// Cost: the runs times their logarithm, one look at the lines of the runs, and the gaps.
#ifndef NORVIK_EDIT_LIST_H
#define NORVIK_EDIT_LIST_H

#include <cstdint>
#include <vector>

#include "edit.h"
#include "text_lines.h"

namespace norvik {

// What the library found common to all files at their ends, of one pair of files.
struct common_ends {
    std::uint64_t head_lines = 0;
    std::uint64_t base_tail_bytes = 0;
    std::uint64_t file_tail_bytes = 0;
};

// Runs of lines that are said to be the same in the base and in a file, in order of the file's
// lines.
struct paired_lines {
    std::vector<line_run> in_place;  // rising in both texts
    std::vector<line_run> crossing;  // moved text, as far as is known
};

struct edit_list_options {
    line_equality equality = line_equality::exact;
    bool refine = true;  // false: the pairs given in place are kept as they are
};

// The edits that make `file` of the base. Pairs may reach over the texts' ends and need not be
// right.
file_edits edits_from_pairs(const text_lines &base, const text_lines &file,
                            const paired_lines &found, const common_ends &ends,
                            const edit_list_options &options);

}  // namespace norvik

#endif
