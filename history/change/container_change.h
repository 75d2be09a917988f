// What every command that changes a container does around its own work: lock it, see that it is
// sound, and put the new container in its place only when it is proven to be the old one with
// nothing but the new records and lines added.
#ifndef NORVIK_CONTAINER_CHANGE_H
#define NORVIK_CONTAINER_CHANGE_H

#include <functional>
#include <string>
#include <string_view>

#include "command_context.h"
#include "container_view.h"
#include "file_replace.h"
#include "output.h"

namespace norvik {

// Scans an open container; tells its damage. 0 or status_trouble.
[[nodiscard]] int check_structure(const container_view &view);

// The version that VERSION on the command line names (empty: the newest of the default branch);
// null after a message when there is none.
[[nodiscard]] const version_record *require_version(const container_view &view,
                                                    std::string_view text);

// The branch called `name`; null after a message when there is none.
[[nodiscard]] const branch_record *require_branch(const container_view &view,
                                                  std::string_view name);

// A branch's name as the command line may give it to a new branch: 1 to 99 bytes, no white space,
// no control byte, no '@' (which stands between branch and number), and nothing that is or may
// become an identifier, since VERSION would then mean two things. 0, or status_trouble after a
// message.
[[nodiscard]] int check_new_branch_name(const container_view *view, const std::string &name);

// The number of the next new branch; 0, or status_trouble after a message.
[[nodiscard]] int new_branch_number(const container_view &view, uint64_t *number);

// What is to be said of new versions of a branch, numbers `first` to `last`: made before they are
// stored, told after that (see done_report).
[[nodiscard]] done_report report_of_versions(const std::string &branch, uint64_t first,
                                             uint64_t last);

// Prints the names of the new versions on standard output, or after --dry-run says on standard
// error that they would be made; nothing when quiet.
void tell_versions(const command_context &context, done_report &&report);

// A container being changed: the old one, locked and open, and the replacement of it.
struct container_change {
    explicit container_change(const command_context &context) : replacement(context) {}

    // Locks the container `name` and opens it; 0, or status_trouble after a message.
    [[nodiscard]] int open(const std::string &name);

    // Says what a text that is stored was read from: a container without any text can then be read
    // by no more than its first one.
    void stores(const granted_rights &rights);

    file_replacement replacement;
    container_view old;
};

}  // namespace norvik

#endif
