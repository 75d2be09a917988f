// The options of the commands that store texts.
#ifndef NORVIK_CHECKIN_OPTIONS_H
#define NORVIK_CHECKIN_OPTIONS_H

#include <string>

#include "checkin_plan.h"
#include "command_context.h"
#include "command_declaration.h"
#include "time_option.h"

namespace norvik {

struct checkin_options {
    checkin_target target;
    bool allow_same = false;
    bool plain = false;  // without a digest
    time_option time;

    // Those of all commands that change a container among them, and the exit codes.
    void declare(command_declaration &command, command_context &context);
};

struct base_options {
    std::string base;  // the version that FILE was made from; empty: the one that FILE names
    bool no_base = false;
    bool merge = false;
    bool update = false;

    // Adds them to the command; this must live until the command has run.
    void declare(command_declaration &command);
    // Refuses what does not go together, `file` being the text's name; 0, or status_trouble.
    [[nodiscard]] exit_status check_usage(const std::string &file) const;
};

}  // namespace norvik

#endif
