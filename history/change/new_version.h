// What a new version's record says of it.
#ifndef NORVIK_NEW_VERSION_H
#define NORVIK_NEW_VERSION_H

#include <cstdint>
#include <string>

#include "record_text.h"
#include "version_sum.h"

namespace norvik {

struct new_version {
    std::string oid;
    std::uint64_t time = 0;    // seconds since 1970
    bool plain = false;        // without a digest, and so without notes
    version_notes notes = {};  // of people; the digest is made with the record
};

// Its record, newline included, in a container of that element. `branch` is the version's own, as
// its record is or will be; `text_value` that of its text. Fails when the notes do not fit.
inline result<std::string> record_of(const new_version &fresh, format::version_id id,
                                     std::string_view element, const branch_record &branch,
                                     std::uint64_t text_value) {
    const version_record record{fresh.oid, id, fresh.time};
    return fresh.plain ? version_line(fresh.oid, id, fresh.time)
                       : noted_line(element, branch, record, text_value, fresh.notes);
}

}  // namespace norvik

#endif
