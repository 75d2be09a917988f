// Takes the lines that a version inserted out of a container, as far as no surviving version
// contains them, and the notes of all versions that are gone.
#ifndef NORVIK_PURGE_H
#define NORVIK_PURGE_H

#include <string>
#include <vector>

#include "container_view.h"
#include "deletion.h"

namespace norvik {

// A line that stays in the file, and who has it.
struct kept_line {
    std::string text;                 // without its newline
    std::vector<version_id> holders;  // the first few of the surviving versions
    std::uint64_t holder_count = 0;
};

// Lines that stay, as many as anybody reads, and how many there are.
struct kept_lines {
    std::vector<kept_line> first;
    std::uint64_t count = 0;
};

struct purge_result {
    // Lines that the version inserted, or that it was the last to hold of a version deleted before.
    std::uint64_t inserted = 0;
    kept_lines held;          // of these, the lines that survivors hold
    std::uint64_t notes = 0;  // commented-out records that had more than a digest
    kept_lines copies;        // gone from the version; survivors have the same line elsewhere
};

// Writes the container without `version` and without its lines to `descriptor`, then reads that
// file and searches it for every line taken out. `request` is the deletion of the version, empty
// when it is deleted already. `container_path` is the container of `before`; `after` is the new
// one.
result<> purge_into(const container_view &before, const std::string &container_path,
                    version_id version, const deletion_request &request, int descriptor,
                    container_view *after, purge_result *lines);

}  // namespace norvik

#endif
