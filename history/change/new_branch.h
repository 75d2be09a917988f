// What a new branch may be called, and its number.
#ifndef NORVIK_NEW_BRANCH_H
#define NORVIK_NEW_BRANCH_H

#include <cstdint>
#include <string>

#include "container_view.h"
#include "failure.h"

namespace norvik {

// A branch's name as a user may give it to a new branch: 1 to 99 bytes, no white space, no control
// byte, no '@' (which stands between branch and number), and nothing that is or may become an
// identifier, since a version's name would then mean two things. Null: in a new container.
result<> check_new_branch_name(const container_view *view, const std::string &name);

// The number of the next new branch.
result<std::uint64_t> new_branch_number(const container_view &view);

}  // namespace norvik

#endif
