// The end of git's merge driver when it cannot merge: both sides whole, between markers. It needs
// no memory, so that it is there when nothing else is.
#ifndef NORVIK_BOTH_SIDES_H
#define NORVIK_BOTH_SIDES_H

#include <system_error>

#include "exit_status.h"

namespace norvik {

struct both_sides {
    const char *ours = nullptr;  // paths; the result takes the place of ours
    const char *theirs = nullptr;
    const char *ours_label = "ours";
    const char *theirs_label = "theirs";
    int marker_size = 7;
};

// Writes both sides beside ours and renames; ours stays as it is where it cannot be read or nothing
// can be written. Of theirs there is what can be read.
[[nodiscard]] std::error_code write_both_sides(const both_sides &sides) noexcept;

// What is left to do when there is no memory to run this command line: for one of the driver, to
// write both sides, as far as they can be seen without reading the options; null for any other.
// (See watch_memory in out_of_memory.h.)
[[nodiscard]] exit_status (*last_resort_for(int argc, char **argv) noexcept)();

// Says that they are, when there is no memory to say it with the file's name.
void say_sides_are_kept() noexcept;

}  // namespace norvik

#endif
