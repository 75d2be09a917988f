// What commands that change a container say of it: before, when it is planned, and after.
#ifndef NORVIK_CHANGE_WORDS_H
#define NORVIK_CHANGE_WORDS_H

#include <cstdint>
#include <string>
#include <vector>

#include "command_context.h"
#include "container_plan.h"
#include "container_repair.h"
#include "output.h"

namespace norvik {

// What is to be said of new versions of a branch, numbers `first` to `last`: made before they are
// stored, told after that (see done_report).
[[nodiscard]] done_report report_of_versions(const std::string &branch, std::uint64_t first,
                                             std::uint64_t last);

// Prints the names of the new versions on standard output, or after --dry-run says on standard
// error that they would be made; nothing when quiet.
void tell_versions(const command_context &context, done_report &&report);

// Whether a change is spoken of as done, or as one that would be.
enum class telling { done, planned };

using sentences = std::vector<std::string>;

// One sentence for every version and branch that goes: gone from the file, or kept and for what.
[[nodiscard]] sentences describe_deletion(const container_plan &plan, telling mood);

// The same of a purge, and the lines that stay with the versions that hold them.
[[nodiscard]] sentences describe_purge(const purge_plan &plan, telling mood);

// The lines that the version brought and survivors hold, with these.
[[nodiscard]] sentences describe_held(const purge_plan &plan);

// "3 lines".
[[nodiscard]] std::string lines_text(std::uint64_t count);

// One sentence for each run of versions that one fault puts in doubt.
[[nodiscard]] sentences describe_lost(const container_view &view, const repair_verdict &verdict,
                                      telling mood);

// What is lost, renamed and saved.
[[nodiscard]] sentences describe_repair(const container_view &view, const repair_verdict &verdict,
                                        telling mood);

// Says on standard error what would be done.
void tell_plan(const sentences &what);

// What is to be said of a change of the container, called `what`, when it is done.
[[nodiscard]] done_report report_of_change(const std::string &container, const std::string &what,
                                           const sentences &words);

}  // namespace norvik

#endif
