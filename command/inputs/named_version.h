// What operands name in a container; whoever asks is told what is wrong with them.
#ifndef NORVIK_NAMED_VERSION_H
#define NORVIK_NAMED_VERSION_H

#include <string_view>

#include "container_view.h"
#include "exit_status.h"

namespace norvik {

// The version that VERSION on the command line names (empty: the newest of the default branch);
// null after a message when there is none.
[[nodiscard]] const version_record *require_version(const container_view &view,
                                                    std::string_view text);

// The branch called `name`; null after a message when there is none.
[[nodiscard]] const branch_record *require_branch(const container_view &view,
                                                  std::string_view name);

// What --branch names: nothing, for all branches, or one, into `only` (null for all). 0, or
// status_trouble after a message when there is no such branch.
[[nodiscard]] exit_status find_only_branch(const container_view &view, std::string_view name,
                                           const branch_record **only);

}  // namespace norvik

#endif
