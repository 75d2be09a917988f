// A container that a command reads: opened once, by its name, for the command's own passes and for
// the library; and looked at again at the end, since a program that does not know containers may
// write to one in place at any time.
#ifndef NORVIK_CONTAINER_READING_H
#define NORVIK_CONTAINER_READING_H

#include <sys/stat.h>

#include <optional>
#include <string>

#include "container_view.h"
#include "descriptor_path.h"
#include "exit_status.h"
#include "file_bytes.h"
#include "owned_descriptor.h"
#include "shown_path.h"

namespace norvik {

struct container_reading {
    container_view view;
    owned_descriptor input;                     // the one opening; of a pipe, its bytes in memory
    struct stat opened {};                      // as the file was then
    std::optional<granted_rights> pipe_rights;  // of the pipe, when it was one
    descriptor_path path;                       // by which the library reads it
    shown_path shown;                           // its messages show the name
};

// Opens a container for reading, whatever it holds. Refuses what is neither a regular file nor a
// pipe, and a pipe with more than `most_of_pipe` bytes, which may have no end. 0, or status_trouble
// after a message.
[[nodiscard]] exit_status open_to_judge(const std::string &name, container_reading *out,
                                        std::uint64_t most_of_pipe = longest_stream);

// The same, for a container that must be sound: one that scan_structure finds damaged is told with
// its line and gives status_trouble, unless `read_damaged`, which tells it and goes on; `damaged`
// (may be null) says which it was.
[[nodiscard]] exit_status open_sound_container(const std::string &name, bool read_damaged,
                                               container_reading *out, bool *damaged = nullptr);

// For the end of a command that reads: the status it has, or status_trouble, after a message, when
// somebody has written to the file since it was opened, so that what was read is of no one state of
// it. A container that another one was renamed over has not changed: the old one is read to its
// end. What is written at once after the opening is seen where the file system gives such writes a
// time of their own.
[[nodiscard]] exit_status unless_changed(const container_reading &reading, exit_status status);

}  // namespace norvik

#endif
