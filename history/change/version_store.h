// New versions, branches and containers: woven by the library, proven, put in place.
#ifndef NORVIK_VERSION_STORE_H
#define NORVIK_VERSION_STORE_H

#include <cstdint>
#include <string>

#include "checkin_plan.h"
#include "container_change.h"

namespace norvik {

// What a new version's record says of it.
struct new_version {
    std::string oid;
    std::uint64_t time = 0;  // seconds since 1970
};

// A text as it is and as a file that the library reads.
struct text_source {
    std::string_view text;
    const std::string &path;
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
