// Which branch and number the next version gets, decided from what the container holds.
#ifndef NORVIK_CHECKIN_PLAN_H
#define NORVIK_CHECKIN_PLAN_H

#include <cstdint>
#include <string>

#include "container_view.h"
#include "time_option.h"

namespace norvik {

struct command_context;
struct command_declaration;

// The options of the commands that store texts.
struct checkin_options {
    std::string branch;  // empty: the default branch
    std::string from;    // the version that a new branch is made off; empty: no new branch
    bool allow_same = false;
    time_option time;

    // Those of all commands that change a container among them, and the exit codes.
    void declare(command_declaration &command, command_context &context);
};

struct checkin_plan {
    std::string branch;        // where the version goes
    bool adds_branch = false;  // the branch is new: made off `predecessor`
    version_id id;             // the new version's
    version_id predecessor;    // the version whose text the new one is compared with
    std::string base_branch;   // the predecessor's branch
};

// Plans a check-in of `count` versions, numbered from plan->id on. Returns 0, or status_trouble
// after a message.
[[nodiscard]] int plan_checkin(const container_view &view, const checkin_options &options,
                               uint64_t count, checkin_plan *plan);

}  // namespace norvik

#endif
