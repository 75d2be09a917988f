// The tree of versions for people, with what each of them changed.
#ifndef NORVIK_VERSION_LOG_H
#define NORVIK_VERSION_LOG_H

#include <cstddef>
#include <vector>

#include "container_view.h"
#include "weave_scan.h"

namespace norvik {

// A version and what is told of it; the records are the container's.
struct logged_version {
    const version_record *record;
    change_counts change;
    text_step text;
    std::vector<const branch_record *> branches;  // made off it
};

using version_log = std::vector<logged_version>;

struct log_look {
    bool one_branch = false;  // no other's versions are in the log: no graph is drawn
    bool reverse = false;     // oldest first
    bool oneline = false;     // no dates, nothing aligned
    bool color = false;
    std::size_t width = 0;  // in columns of the terminal, 0 for none
};

// Prints a line a version. The log is newest first, as the header is.
void print_log(const container_view &view, const version_log &log, const log_look &look);

}  // namespace norvik

#endif
