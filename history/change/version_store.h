// A new version, branch or container: written, proven, put in place.
#ifndef NORVIK_VERSION_STORE_H
#define NORVIK_VERSION_STORE_H

#include <string>
#include <string_view>

#include "checkin_plan.h"
#include "container_change.h"
#include "new_version.h"

namespace norvik {

// A text that is stored, and what failures call it.
struct text_source {
    std::string_view text;
    const std::string &name;
};

// Stores the text as the next version of the locked container; false, with nothing changed, when
// it is that of the version before and `allow_same` is not given.
result<bool> store_version(container_change *change, const checkin_plan &plan,
                           const new_version &fresh, const text_source &source, bool allow_same);

// Makes the branch `name`, whose number is the next one, with an empty difference to the version
// `point` as its version 0.
result<> store_branch(container_change *change, const std::string &name,
                      const version_record &point, const new_version &fresh);

// Writes the container of a new element with its empty version 0 to the locked output.
result<> store_element(file_replacement *output, const std::string &element,
                       const std::string &branch, const new_version &fresh);

}  // namespace norvik

#endif
