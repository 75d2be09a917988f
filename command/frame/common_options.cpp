#include "common_options.h"

#include <cstdlib>

#include "exit_status.h"
#include "usage_error.h"

namespace norvik {

namespace {

// Negative, endless and what is no number at all, which compares as false with everything.
std::string refuse_odd_timeout(const std::string &value) {
    char *end = nullptr;
    const double seconds = std::strtod(value.c_str(), &end);
    const bool number = end != value.c_str() && *end == '\0';
    return number && seconds >= 0 && seconds <= 1e9 ? "" : "not a number of seconds from 0 to 1e9";
}

}  // namespace

void add_json_option(command_declaration &command, command_context &context) {
    command.flag("--json", context.json, "Machine-readable output, described in docs/json.md");
}

void add_replace_options(command_declaration &command, command_context &context,
                         const char *force_help) {
    command.options.push_back({.names = "--lock-timeout",
                               .value_name = "SECONDS",
                               .help = "Wait at most SECONDS for another command (default 10)",
                               .target = &context.lock_timeout,
                               .group = option_group::more,
                               .check = refuse_odd_timeout});
    command.flag("--break-links", context.break_links,
                 "Replace a file that has several hard links; the others keep the old text",
                 option_group::more);
    command.flag("-f,--force", context.force, force_help, option_group::more);
}

void add_dry_run_option(command_declaration &command, command_context &context) {
    command.flag("--dry-run", context.dry_run, "Say what would be done and change nothing");
}

exit_status require_output(const command_context &context, std::string_view command,
                           bool writes_file) {
    return writes_file || !context.dry_run
               ? status_done
               : usage_error(command, "--dry-run needs -o FILE: nothing else is replaced");
}

void add_plain_option(command_declaration &command, bool &plain) {
    command.flag("--plain", plain, "Write no digest, as the library stores a version",
                 option_group::more);
}

void add_damaged_option(command_declaration &command, bool &damaged) {
    command.flag("--damaged", damaged,
                 "Read a damaged container as it stands; any text may be a wrong one",
                 option_group::more);
}

}  // namespace norvik
