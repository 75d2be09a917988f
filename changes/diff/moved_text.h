// Which lines of a file moved: runs that stand in removed lines of the base and in inserted lines
// of the file.
#ifndef NORVIK_MOVED_TEXT_H
#define NORVIK_MOVED_TEXT_H

#include <span>

#include "edit.h"
#include "text_lines.h"

namespace norvik {

// From runs of equal lines (`candidates`, in any order) those parts that lie in removed lines of
// one edit and in inserted lines of an edit, each grown over equal neighbours, no line twice. A
// run counts as moved when two of its lines at least say something of their own; a single line
// that turns up elsewhere is a deletion and an insertion. What one edit removes and another
// inserts whole has moved too, without a candidate (the stream pairs no text that consists of
// repeated lines). In order of base_first.
std::vector<line_run> moved_runs(const text_lines &base, const text_lines &file,
                                 const std::vector<edit> &edits,
                                 std::span<const line_run> candidates, line_equality equality);

// The index of the edit that removes base line `line`, or inserts file line `line`; -1 for none.
std::int32_t edit_removing(const std::vector<edit> &edits, std::int32_t line);
std::int32_t edit_inserting(const std::vector<edit> &edits, std::int32_t line);

}  // namespace norvik

#endif
