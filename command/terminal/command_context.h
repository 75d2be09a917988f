// The options that commands share, as this command line has them.
#ifndef NORVIK_COMMAND_CONTEXT_H
#define NORVIK_COMMAND_CONTEXT_H

#include "exit_status.h"
#include "replace_options.h"
#include "terminal.h"

namespace norvik {

// How files are replaced stays at its defaults but for commands that declare those options.
struct command_context : replace_options {
    color_choice color = color_choice::automatic;
    bool no_pager = false;
    bool no_progress = false;
    bool no_input = false;
    bool json = false;  // only where the command calls add_json_option
};

}  // namespace norvik

#endif
