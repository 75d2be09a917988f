// The help texts, made from what the commands declare.
#ifndef NORVIK_HELP_H
#define NORVIK_HELP_H

#include "command_declaration.h"

namespace norvik {

// Prints the help of one command: usage, operands, options and examples; with `full` also the
// options that are rarely needed, the details and the exit codes.
void print_help(const command_declaration &command, bool full);

// Prints the help of tdm itself: the commands and two examples; with `full` also how they agree.
void print_overview(bool full);

}  // namespace norvik

#endif
