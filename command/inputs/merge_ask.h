// The interactive merge: every conflict is shown and asked about on the terminal.
#ifndef NORVIK_MERGE_ASK_H
#define NORVIK_MERGE_ASK_H

#include <norviktdm/tdm.h>

#include <cstdint>
#include <string>
#include <vector>

#include "command_context.h"
#include "merge_run.h"

namespace norvik {

// Whether a question can be put: standard input is a terminal and --no-input was not given. Says
// why not otherwise.
[[nodiscard]] bool can_ask(const command_context &context);

// Shows each region in conflict and asks for every contributor whether its change is wanted, as
// the library's merge does: the first question's default is yes; once something is accepted,
// deletions are passed over and the default is no; what is accepted follows each other, and when
// nothing is, the base stays. An answer may also take the base or a file, or edit the text. The
// answers go into the plan. Results: status_done, status_negative when the merge was abandoned,
// status_trouble after a message.
[[nodiscard]] exit_status ask_about_conflicts(const command_context &context,
                                              const merge_options &options, merge_run *run);

// Shows a region's places in the base and in each of its contributors side by side, on standard
// error.
void show_region(const command_context &context, const merge_options &options, const merge_run &run,
                 const merge_region &region);

// One text for each place of the region: those of the contributors after each other, a line's end
// between them, or the base's for none.
std::vector<std::string> joined_versions(const merge_run &run, const merge_region &region,
                                         const std::vector<std::int32_t> &contributors);

// The question of the library's merge for a change, an insertion or a deletion, with the file's
// number, the base being file 1.
std::string question_text(tdm_difference_kind kind, int file_number);

}  // namespace norvik

#endif
