// The frame of the command line: finds the command, registers it alone, parses, prints help and
// usage errors.
#ifndef TDM_HOST_CLI_H
#define TDM_HOST_CLI_H

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "command_context.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace host {

// A line of the table in commands.cpp. `add` declares the command's options on `app` (those in
// CLI11's default group are shown by -h, those in group more_options by --help alone) and fills in
// the context.
struct command_entry {
    const char *name;
    const char *summary;  // half a line, no full stop
    void (*add)(CLI::App &app, command_context &context);
};

// All commands, in the order in which the help lists them.
std::span<const command_entry> command_table();

inline constexpr const char *more_options = "More options";
inline constexpr const char *general_options = "General options";

// The option of `app` with this long name ("--json"), which it has. CLI::App::get_option ends the
// program when memory is short.
CLI::Option *option_named(CLI::App &app, std::string_view name);

// Lets at most one of these options of `app` be given: each would drop the others' work.
void allow_one_of(CLI::App &app, std::initializer_list<const char *> names);

// Refuses each of `names` together with `option`, which leaves no work to them.
void refuse_with(CLI::App &app, const char *option, std::initializer_list<const char *> names);

// Declares --json on `app`, for commands that have a machine form.
void add_json_option(CLI::App &app, command_context &context);

// Declares --lock-timeout, --break-links and --force, for commands that replace a file. What
// --force does beyond keeping going when the owner cannot be kept is said in `force_help`.
void add_replace_options(CLI::App &app, command_context &context, const char *force_help);

// Declares --dry-run, for commands that change files only through file_replacement, whose commit
// obeys it.
void add_dry_run_option(CLI::App &app, command_context &context);

// Prints "tdm: MESSAGE" with a pointer to the help of `command` (or of tdm itself when empty) and
// returns status_trouble.
int usage_error(std::string_view command, const std::string &message);

// The candidate nearest to `word` by edit distance, or an empty view when none is near enough to
// be meant.
std::string_view nearest_name(std::string_view word, std::span<const std::string> candidates);

// Runs the whole command line; returns the exit status. It may be called again: nothing of an
// earlier run is left but what watch_memory sets, and a closed standard output.
int run_command_line(int argc, char **argv);

}  // namespace host

#endif
