// A merge in words: what was decided where, and why a conflict is one, even where it cannot be
// seen.
#ifndef NORVIK_MERGE_WORDS_H
#define NORVIK_MERGE_WORDS_H

#include <string>
#include <string_view>
#include <vector>

#include "exit_status.h"
#include "merge_run.h"

namespace norvik {

// What differs between texts that look the same ("line endings", "blanks at line ends", "the
// newline at the end", "blanks"); empty when they differ in more than that.
std::string_view invisible_difference(const std::vector<std::string_view> &texts);

// "lines 3-6", "line 3" or, for an empty range, "after line 2"; from the 0-based range.
std::string range_words(std::int32_t first, std::int32_t end);

// What a region's contributors did and what became of it, in one line without its place.
std::string region_words(const merge_run &run, const merge_options &options,
                         const merge_region &region);

// Says every conflict and every repeated insertion on standard error, each with its line in
// `output`.
void say_conflicts(const merge_run &run, const merge_options &options, std::string_view output);

// The same of the conflicts alone, each with its line in the base, whose name is given: for a merge
// that writes nothing.
void say_conflicts_of_base(const merge_run &run, const merge_options &options,
                           std::string_view base);

// Says which lines keep the text from passing its check; returns status_trouble.
exit_status say_line_faults(const merge_run &run);

// Every region with its places, a line a place; the text of --report.
std::string report_text(const merge_run &run, const merge_options &options);

// Prints the same for machines; docs/json.md describes it. `names` are the merged files', the base
// first.
void print_merge_json(const merge_run &run, const merge_options &options,
                      const std::vector<std::string> &names, std::string_view output);

}  // namespace norvik

#endif
