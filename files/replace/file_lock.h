// The file that a command will replace: found behind its symbolic links, checked, and locked, so
// that commands on one file run one after the other and none is lost.
#ifndef NORVIK_FILE_LOCK_H
#define NORVIK_FILE_LOCK_H

#include <sys/stat.h>

#include <string>

#include "owned_descriptor.h"
#include "replace_options.h"

namespace norvik {

// A file as found at the moment it was locked.
struct locked_file {
    std::string name;         // as the user gave it
    std::string path;         // behind all symbolic links
    owned_descriptor folder;  // open; whatever is done to the file is done by its name in there
    bool exists = false;
    owned_descriptor descriptor;  // holds the lock; open when the file exists
    struct stat status {};

    // Its name in the folder.
    const char *base() const { return path.c_str() + path.rfind('/') + 1; }
};

// Finds, checks and locks the file `name`. A file that does not exist is trouble unless
// `may_be_new`; then only its path is filled in. Refuses what is no regular file and, unless
// the options let it part, a file with several names. Waits for another command's lock as long as
// the options say, which is told.
result<locked_file> lock_file(const std::string &name, bool may_be_new,
                              const replace_options &options);

// What a second look at a file shows.
struct second_look {
    bool same;
    std::error_code error;  // why that cannot be seen; then it is not the same
};

// Whether the name still leads to the locked file and nobody has written to it since.
[[nodiscard]] second_look look_again(const locked_file &file);

// Whether the name `base` in the open folder leads, by no link, to the file that `status` is of.
[[nodiscard]] second_look look_by_name(int folder, const char *base, const struct stat &status);

// Opens `name` for reading only.
result<owned_descriptor> open_to_read(const std::string &name);

}  // namespace norvik

#endif
