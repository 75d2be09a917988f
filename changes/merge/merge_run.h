// One merge from its files to its proved text, without the command line around it.
#ifndef NORVIK_MERGE_RUN_H
#define NORVIK_MERGE_RUN_H

#include <string>
#include <string_view>
#include <vector>

#include "comparison.h"
#include "merge_check.h"
#include "merge_regions.h"
#include "merge_text.h"
#include "text_file.h"

namespace norvik {

struct merge_options {
    bool ignore_blanks = false;
    bool apply_adjacent = false;  // edits that only touch are no conflict
    bool strict = false;          // the same lines inserted in different places are one
    marker_options markers;
};

struct merge_run {
    std::vector<text_file> files;  // the base, then the contributors
    comparison compared;
    merge_input in;
    merge_plan plan;
    merged_text merged;
    merge_verdict verdict;  // of `merged`: what is repeated; no faults are left
};

// Reads and compares the files (the base's name first) and finds what each contributor changed.
// For the library's own merge the edits are the stream's own blocks, and the session stays. 0, or
// status_trouble after a message.
[[nodiscard]] int begin_merge(const std::vector<std::string> &names, const merge_options &options,
                              bool by_library, merge_run *run);

// A text that stands in memory, with the name that messages and markers call it by. The bytes are
// needed during the call alone.
struct named_text {
    std::string name;
    std::string_view bytes;
};

// The whole merge of texts in memory, the base first: compares, decides and checks. The result is
// run->merged.text, between markers where !is_clean(run->plan); say_conflicts (merge_words.h) tells
// the conflicts, given the same options. Labels that `options` lacks become the names. 0, or
// status_trouble after a message.
[[nodiscard]] int merge_texts(const std::vector<named_text> &texts, merge_options *options,
                              merge_run *run);

// Writes the merged text of run->plan and checks it; whatever does not pass is made a conflict and
// written again. 0, or status_trouble after a message for a text that no conflict mends.
[[nodiscard]] int finish_merge(const merge_options &options, merge_run *run);

// Whether no region is in conflict.
bool is_clean(const merge_plan &plan);

}  // namespace norvik

#endif
