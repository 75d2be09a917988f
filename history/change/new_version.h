// What a new version's record says of it.
#ifndef NORVIK_NEW_VERSION_H
#define NORVIK_NEW_VERSION_H

#include <cstdint>
#include <string>

#include "record_text.h"

namespace norvik {

struct new_version {
    std::string oid;
    std::uint64_t time = 0;  // seconds since 1970
};

// Its record, newline included.
[[nodiscard]] inline std::string record_of(const new_version &fresh, format::version_id id) {
    return version_line(fresh.oid, id, fresh.time);
}

}  // namespace norvik

#endif
