// Looks at a merged text once more, without the plan's help: no line of a contributor may be lost
// or stand twice unasked.
//
// Outside of the places the merged text and every contributor must be the base. Within them every
// distinct line is counted in the base, in each contributor and in the merged text outside of the
// markers. Every insertion and deletion must have come through, equal ones of several contributors
// once at least. A line of which nobody has fewer than the base must stand at least as often as in
// the base and by the most that one added; a line of which nobody has more, at most as often as in
// the base less the most that one removed; not so a line that repeats and is in an edit that
// several made. Lines in conflict are left out of account, and so are lines that say nothing of
// their own (blank ones, braces), which come and go with every edit.
#ifndef NORVIK_MERGE_CHECK_H
#define NORVIK_MERGE_CHECK_H

#include <string_view>
#include <vector>

#include "merge_regions.h"
#include "merge_text.h"

namespace norvik {

enum class line_fault_kind {
    foreign,  // no text has the line, or the base's text was not kept where nobody changed it
    lost,     // fewer times in the merged text than the changes explain
    doubled,  // more often
};

struct line_fault {
    line_fault_kind kind;
    std::string_view line;
};

// Lines that several contributors inserted in different places, so that the merged text has them
// more than once: merged lines first .. first + count - 1 and second .. second + count - 1, from 0.
struct repeated_lines {
    std::int32_t first = 0;
    std::int32_t second = 0;
    std::int32_t count = 0;
};

struct merge_verdict {
    std::vector<line_fault> faults;
    std::vector<std::int32_t> fault_places;  // rising: the places whose edits hold lines at fault
    std::vector<repeated_lines> repeated;
    std::vector<std::int32_t> repeated_places;
};

// `merged` must have been written from the plan. Views of the faults are into the texts.
merge_verdict check_merged(const merge_input &in, const merge_plan &plan,
                           const merged_text &merged);

}  // namespace norvik

#endif
