#include "checkin_options.h"

#include "common_options.h"
#include "exit_status.h"
#include "usage_error.h"

namespace norvik {

void checkin_options::declare(command_declaration &command, command_context &context) {
    command.value("--branch", "NAME", target.branch, "The branch (default: main, or the only one)");
    command.value("--from", "VERSION", target.from, "Start the new branch off this version");
    command.needs.emplace_back("--from", "--branch");
    time.declare(command);
    command.flag("--allow-same", allow_same,
                 "Store a version whose text is that of the one before");
    add_plain_option(command, plain);
    add_dry_run_option(command, context);
    add_replace_options(command, context);
    command.exit_codes =
        "0 stored; 1 nothing to store; 2 wrong usage or trouble, nothing is changed unless it says "
        "so.";
}

void base_options::declare(command_declaration &command) {
    command.value("--base", "VERSION", base, "Store only when this is the newest version");
    command.flag("--no-base", no_base, "Whatever FILE was made from, store it as the next version");
    command.flag("--merge", merge, "Merge FILE with what came since, and store that");
    command.flag("--update", update, "With --merge: write the merged text to FILE");
}

exit_status base_options::check_usage(const std::string &file) const {
    const char *wrong = no_base && !base.empty() ? "--base and --no-base exclude each other"
                        : no_base && merge       ? "--merge and --no-base exclude each other"
                        : update && !merge       ? "--update needs --merge"
                        : update && file == "-"  ? "--update needs a FILE to write to, not -"
                                                 : nullptr;
    return wrong == nullptr ? status_done : usage_error("checkin", wrong);
}

}  // namespace norvik
