// What a command gets from the frame: the common options, and where it puts its help texts, its
// operands and the function that does its work.
#ifndef TDM_HOST_COMMAND_CONTEXT_H
#define TDM_HOST_COMMAND_CONTEXT_H

#include <functional>
#include <string>
#include <vector>

#include "exit_status.h"
#include "terminal.h"

namespace host {

// One operand of the command line, in order. Exactly one of `single` and `list` is set; a list
// takes all operands that are left over and must come last.
struct operand {
    const char *name;
    const char *description;
    std::string *single;
    std::vector<std::string> *list;
    bool required;
};

struct command_context {
    // The common options.
    color_choice color = color_choice::automatic;
    bool no_pager = false;
    bool no_progress = false;
    bool quiet = false;
    bool no_input = false;
    bool json = false;           // only where the command calls add_json_option
    double lock_timeout = 10.0;  // seconds; the three here only after add_replace_options
    bool break_links = false;
    bool force = false;
    bool dry_run = false;  // only after add_dry_run_option

    // Filled in by the command's registration function.
    std::string name;                    // set by the frame
    const char *summary = "";            // set by the frame, from the table of commands
    const char *details = "";            // what --help says beyond the options; may be empty
    const char *exit_codes = "";         // "0 ...; 1 ...; 2 ..."
    std::vector<const char *> examples;  // at least two whole command lines
    std::vector<operand> operands;
    std::function<int()> run;  // does the work, returns an exit_status

    void take(const char *operand_name, std::string &value, const char *description);
    void take_optional(const char *operand_name, std::string &value, const char *description);
    void take_list(const char *operand_name, std::vector<std::string> &values, bool required,
                   const char *description);
};

}  // namespace host

#endif
