// Everything that one pass over a container's weave tells of all its versions. Lines are counted as
// the versions have them, a long one that is stored in pieces as one.
#ifndef NORVIK_WEAVE_SCAN_H
#define NORVIK_WEAVE_SCAN_H

#include <functional>
#include <vector>

#include "weave_cursor.h"

namespace norvik {

struct weave_scan {
    version_tree tree;                   // with the versions whose records are lost
    std::vector<weave_fault> faults;     // in order of the pass
    std::vector<text_step> totals;       // what each version reads, by position in the tree
    std::vector<change_counts> changes;  // the lines that each version's records add and delete
    std::map<version_id, std::uint64_t> unlisted;  // records of versions that the header has not
};

// Told now and then how many bytes of the weave have been passed.
using scan_progress = std::function<void(std::uint64_t bytes)>;

// One pass, and a second one when header records are lost of versions that the weave has.
// O(bytes + (records + stretches) x log versions). `told` may be empty.
[[nodiscard]] weave_scan scan_weave(const container_view &view, fingerprints of,
                                    const scan_progress &told);

}  // namespace norvik

#endif
