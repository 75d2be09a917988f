#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>

#include "both_sides.h"
#include "cli.h"
#include "end_signals.h"
#include "exit_status.h"
#include "out_of_memory.h"
#include "private_file.h"

namespace {

// A standard stream that is closed gets a descriptor that cannot be used in its direction: else a
// container that is opened next would take its number, and be read or written in its stead.
bool occupy_standard_streams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; stream++) {
        const int flags = stream == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", flags) != stream) {
            return false;
        }
    }
    return true;
}

// Static objects take memory too, before main: this comes first of all.
__attribute__((constructor(101))) void begin(int argc, char **argv, char **) {
    norvik::watch_memory(norvik::last_resort_for(argc, argv));
}

}  // namespace

int main(int argc, char **argv) {
    if (!occupy_standard_streams()) {
        return norvik::status_trouble;
    }
    // A closed pipe ends the command and its children's ends are reported to it, whatever its parent
    // thinks of that; a file that grows beyond the limit is an error to be told.
    signal(SIGPIPE, SIG_DFL);
    signal(SIGCHLD, SIG_DFL);
    signal(SIGXFSZ, SIG_IGN);
    norvik::watch_end_signals();
    const char *temporary = std::getenv("TMPDIR");
    norvik::keep_private_files_below(temporary == nullptr ? "" : temporary);
    return norvik::run_command_line(argc, argv);
}
