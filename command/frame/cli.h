// The frame of the command line: finds the command, takes its options and operands, and runs it or
// prints its help.
#ifndef NORVIK_CLI_H
#define NORVIK_CLI_H

namespace norvik {

// Runs the whole command line; returns the exit status. It may be called again: nothing of an
// earlier run is left but what watch_memory sets, and a closed standard output.
int run_command_line(int argc, char **argv);

}  // namespace norvik

#endif
