// A change of a container that is made in memory first, so that somebody can look at what would
// come of it, and be asked, while nothing is locked.
#ifndef NORVIK_CONTAINER_PLAN_H
#define NORVIK_CONTAINER_PLAN_H

#include <sys/stat.h>

#include <string>
#include <vector>

#include "container_change.h"
#include "deletion.h"
#include "memory_file.h"
#include "purge.h"

namespace norvik {

// Both containers, proven against each other.
struct container_plan {
    container_view before;
    struct stat found {};  // its file then
    deletion_request request;
    memory_file bytes;     // of the new container
    container_view after;  // the same, read
};

// Plans to delete versions and branches, named as a user names them, from the locked container.
result<> plan_deletion(container_change *change, const std::vector<std::string> &versions,
                       const std::vector<std::string> &branches, container_plan *plan);

struct purge_plan : container_plan {
    version_id version;
    purge_result lines;
    // All lines that the version brought are held by survivors, and no record that stays
    // commented out has notes: the plan is not to be carried out.
    [[nodiscard]] bool takes_nothing_out() const {
        return lines.inserted != 0 && lines.inserted == lines.held.count && lines.notes == 0;
    }
};

// The same to purge a version, which may be deleted already.
result<> plan_purge(container_change *change, const std::string &version, purge_plan *plan);

// Locks the container `name` again; the failure is of the kind `changed` when it is not the file
// that the plan was made of, or somebody has written to that.
result<> open_as_planned(const std::string &name, const container_plan &plan,
                         container_change *change);

// Puts the planned container in the place of the locked one.
result<> carry_out(const container_plan &plan, file_replacement *replacement);

}  // namespace norvik

#endif
