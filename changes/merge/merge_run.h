// One merge from what each contributor changed to its proved text.
#ifndef NORVIK_MERGE_RUN_H
#define NORVIK_MERGE_RUN_H

#include "merge_check.h"
#include "merge_input.h"
#include "merge_regions.h"
#include "merge_text.h"

namespace norvik {

struct merge_options {
    bool ignore_blanks = false;
    bool apply_adjacent = false;  // edits that only touch are no conflict
    bool strict = false;          // the same lines inserted in different places are one
    marker_options markers;
};

struct merge_run {
    merge_input in;
    merge_plan plan;
    merged_text merged;
    merge_verdict verdict;  // of `merged`: what is repeated; no faults are left
};

// Adds a contributor with this text, which must outlive the input. True when one before it has the
// same text, whose edits it shares then; false when its edits are for the caller to find, as
// in->changes.back().
[[nodiscard]] bool add_contributor(const text_lines *text, merge_input *in);

// Writes the merged text of run->plan and checks it; whatever does not pass is made a conflict and
// written again. False for a text that no conflict mends: run->verdict has the faults.
[[nodiscard]] bool finish_merge(const merge_options &options, merge_run *run);

// Whether no region is in conflict.
bool is_clean(const merge_plan &plan);

}  // namespace norvik

#endif
