// The forms in which differences are shown.
#ifndef NORVIK_DIFF_OUTPUT_H
#define NORVIK_DIFF_OUTPUT_H

#include <norviktdm/tdm.h>

#include <string>
#include <vector>

#include "edit.h"
#include "lined_text.h"
#include "output.h"

namespace norvik {

struct diff_view {
    bool color = false;
    bool escape = false;     // for a terminal: show control bytes instead of sending them
    bool mark_moves = true;  // else moved text is shown as a deletion and an insertion
    bool ignore_blanks = false;
    std::int32_t context = 3;
    bool whole = true;  // side by side: all lines, not the edits and their context alone
    int width = 130;    // side by side: columns
};

// The base, a file, and how the one becomes the other.
struct file_difference {
    const lined_text &base;
    const lined_text &file;
    std::string base_label;
    std::string file_label;
    const file_edits &edits;
};

// Two columns with a mark between them: "|" changed, "<" removed, ">" inserted, "m" before either
// for moved lines. Writes nothing but a heading where nothing differs and not all is shown.
void write_side_by_side(output_writer &out, const diff_view &view, const file_difference &d);

// Hunks in which changed lines are compared word by word: [-removed-] and {+inserted+}.
void write_word_diff(output_writer &out, const diff_view &view, const file_difference &d);

// A line for each file with the numbers of its inserted, deleted and moved lines, and their sum.
void write_stat(output_writer &out, const diff_view &view,
                const std::vector<file_difference> &files);

// The blocks of the difference stream as the library gives them, a line a block: file, kind,
// base lines, other lines, moved lines.
void write_blocks(output_writer &out, const std::vector<diff_block> &blocks);

// All of it for machines; docs/json.md describes it.
void write_diff_json(const std::vector<file_difference> &files);

// How many lines of the file moved.
std::int64_t moved_lines(const file_edits &edits);

}  // namespace norvik

#endif
