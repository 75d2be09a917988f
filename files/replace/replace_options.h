// How a command replaces a file.
#ifndef NORVIK_REPLACE_OPTIONS_H
#define NORVIK_REPLACE_OPTIONS_H

#include "failure.h"

namespace norvik {

struct replace_options {
    double lock_timeout = 10.0;  // seconds to wait for another command
    // Waits in the kernel's queue, which a signal to the process ends; else looks again and again,
    // for a host that has signals and threads of its own.
    bool waits_in_queue = true;
    bool break_links = false;  // replace a file that has several names too
    bool force = false;        // replace an existing output; go on when its owner cannot be kept
    bool dry_run = false;      // check everything and replace nothing
    bool quiet = false;        // tell only what went wrong
    notice_sink tell = [](const failure &) {};            // takes what is worth telling meanwhile
    void (*note_replaced)() noexcept = []() noexcept {};  // called as soon as a file is replaced
};

}  // namespace norvik

#endif
