// The whole judgement on a container: its header, its weave and every version's text.
#ifndef TDM_HOST_CONTAINER_CHECK_H
#define TDM_HOST_CONTAINER_CHECK_H

#include <vector>

#include "weave_scan.h"

namespace host {

struct container_check {
    weave_scan scan;                  // its faults are those of the weave alone
    std::vector<weave_fault> faults;  // all, in order of lines
    std::vector<bool> in_doubt;       // by position: whether a fault concerns the version's text
};

// One pass: O(bytes + (records + stretches) x log versions). `told` may be empty.
[[nodiscard]] container_check check_container(const container_view &view, bool fingerprints,
                                              const scan_progress &told);

// Whether `version` can be named and its text is in no doubt.
[[nodiscard]] bool is_trusted(const container_check &check, const version_record &version);

}  // namespace host

#endif
