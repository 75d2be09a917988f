// What a merge is made from.
#ifndef NORVIK_MERGE_INPUT_H
#define NORVIK_MERGE_INPUT_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "edit.h"
#include "text_lines.h"

namespace norvik {

// The texts of a merge and what every contributor changed; contributors count from 0.
struct merge_input {
    const text_lines *base = nullptr;
    std::vector<const text_lines *> files;
    std::vector<file_edits> changes;
    // For each contributor the first one that has the same text, most often itself.
    std::vector<std::int32_t> same_as;
    line_equality equality = line_equality::exact;
};

// An edit of one of the contributors.
struct place_edit {
    std::int32_t contributor = 0;
    std::int32_t edit = 0;  // index into the contributor's edits
};

// The edit itself, as long as the input stays.
inline const edit &edit_at(const merge_input &in, const place_edit &e) {
    return in.changes[static_cast<std::size_t>(e.contributor)]
        .edits[static_cast<std::size_t>(e.edit)];
}

}  // namespace norvik

#endif
