// Which branch and number the next version gets, decided from what the container holds.
#ifndef NORVIK_CHECKIN_PLAN_H
#define NORVIK_CHECKIN_PLAN_H

#include <cstdint>
#include <string>

#include "container_view.h"
#include "failure.h"

namespace norvik {

// Where a text is to be stored.
struct checkin_target {
    std::string branch;  // empty: the default branch
    std::string from;    // the version that a new branch is made off; empty: no new branch
};

struct checkin_plan {
    std::string branch;        // where the version goes
    bool adds_branch = false;  // the branch is new: made off `predecessor`
    version_id id;             // the new version's
    version_id predecessor;    // the version whose text the new one is compared with
    std::string base_branch;   // the predecessor's branch
};

// Plans a check-in of `count` versions, numbered from the plan's `id` on.
result<checkin_plan> plan_checkin(const container_view &view, const checkin_target &target,
                                  std::uint64_t count);

}  // namespace norvik

#endif
