// The table of commands.
#ifndef NORVIK_COMMANDS_H
#define NORVIK_COMMANDS_H

#include <span>

namespace norvik {

struct command_context;
struct command_declaration;

// `add` declares the command's operands, options and words, and what it runs.
struct command_entry {
    const char *name;
    const char *summary;  // half a line, no full stop
    void (*add)(command_declaration &command, command_context &context);
};

// All commands, in the order in which the help lists them.
std::span<const command_entry> command_table();

}  // namespace norvik

#endif
