// The options that several commands have, each with one meaning. What is set must live until the
// command has run.
#ifndef NORVIK_COMMON_OPTIONS_H
#define NORVIK_COMMON_OPTIONS_H

#include <string_view>

#include "command_context.h"
#include "command_declaration.h"

namespace norvik {

// Declares --json, for commands that have a machine form.
void add_json_option(command_declaration &command, command_context &context);

inline constexpr const char *keep_going_help =
    "Go on when the file's owner or group cannot be kept";

// Declares --lock-timeout, --break-links and --force, for commands that replace a file. What
// --force does beyond keeping going when the owner cannot be kept is said in `force_help`.
void add_replace_options(command_declaration &command, command_context &context,
                         const char *force_help = keep_going_help);

// Declares --dry-run, for commands that change files only through file_replacement, whose commit
// obeys it.
void add_dry_run_option(command_declaration &command, command_context &context);

// Refuses a --dry-run where no file is written: it would promise what is not done anyway. --force
// and --break-links ask for nothing there. `command` is its name. 0, or status_trouble after a
// message.
[[nodiscard]] exit_status require_output(const command_context &context, std::string_view command,
                                         bool writes_file);

// Declares --plain, for commands that write records of new versions.
void add_plain_option(command_declaration &command, bool &plain);

// Declares --damaged, the one option that reads damage, for all commands that can.
void add_damaged_option(command_declaration &command, bool &damaged);

}  // namespace norvik

#endif
