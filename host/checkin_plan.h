// Which branch and number the next version gets, decided from what the container holds.
#ifndef TDM_HOST_CHECKIN_PLAN_H
#define TDM_HOST_CHECKIN_PLAN_H

#include <cstdint>
#include <string>

#include "container_view.h"

namespace host {

struct checkin_plan {
    std::string branch;        // where the version goes
    bool adds_branch = false;  // the branch is new: made off `predecessor`
    version_id id;             // the new version's
    version_id predecessor;    // the version whose text the new one is compared with
    std::string base_branch;   // the predecessor's branch
};

// Plans a check-in to `branch` (empty: the default branch), new when `from` names the version that
// it is made off. `count` versions are to be numbered from plan->id on. Returns 0, or
// status_trouble after a message.
[[nodiscard]] int plan_checkin(const container_view &view, const std::string &branch,
                               const std::string &from, uint64_t count, checkin_plan *plan);

}  // namespace host

#endif
