// The whole judgement on a container: its header, its weave and every version's text.
#ifndef NORVIK_CONTAINER_CHECK_H
#define NORVIK_CONTAINER_CHECK_H

#include <vector>

#include "sum_check.h"
#include "weave_scan.h"

namespace norvik {

struct container_check {
    weave_scan scan;                   // its faults are those of the weave alone
    std::vector<weave_fault> faults;   // all, in order of lines
    std::vector<bool> in_doubt;        // by position: whether a fault concerns the version's text
    std::vector<bool> in_other_doubt;  // the same without faults that are stray lines
};

// One pass: O(bytes + (records + stretches) x log versions). With fingerprints of bytes the digests
// in the records are checked as well. `told` may be empty.
[[nodiscard]] container_check check_container(const container_view &view, fingerprints of,
                                              const scan_progress &told);

// Whether `version` can be reconstructed and its text is in no doubt. With `drop_stray`, lines that
// belong to no run count for nothing.
[[nodiscard]] bool is_trusted(const container_check &check, const version_record &version,
                              bool drop_stray = false);

}  // namespace norvik

#endif
