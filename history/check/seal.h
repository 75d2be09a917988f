// Adds digests to the versions of a container that have none.
#ifndef NORVIK_SEAL_H
#define NORVIK_SEAL_H

#include <set>
#include <string>
#include <vector>

#include "container_view.h"
#include "file_replace.h"

namespace norvik {

struct seal_plan {
    // The versions that get a digest; none when a version does not agree with the one it has.
    std::set<version_id> versions;
    std::string header;          // the new one
    std::vector<damage> faults;  // versions that do not agree with their digests
};

// Plans for a container. One pass over the weave.
result<seal_plan> plan_seal(const container_view &view);

// Replaces the locked container `old`, proven to be the old one but for these digests.
result<> seal_container(const container_view &old, const seal_plan &plan,
                        file_replacement *replacement);

}  // namespace norvik

#endif
