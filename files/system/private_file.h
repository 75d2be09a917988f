// A file that only this user can reach and that goes with the command, for what the library must
// find by a path where a descriptor has none (see descriptor_path.h).
#ifndef NORVIK_PRIVATE_FILE_H
#define NORVIK_PRIVATE_FILE_H

#include <string>
#include <string_view>
#include <system_error>

#include "owned_descriptor.h"

namespace norvik {

// Empty at first, of mode 0600, in a folder of mode 0700 that is made below the folder for
// temporary files, or below /tmp when others may rename what stands there. The file goes with its
// owner, the folder with the command, also when a signal ends it.
class private_file {
public:
    private_file() = default;
    ~private_file() { remove(); }
    private_file(private_file &&other) noexcept;
    private_file &operator=(private_file &&other) noexcept;

    // Makes the file, in the place of one that this object had.
    [[nodiscard]] std::error_code create();

    const std::string &path() const { return path_; }
    int descriptor() const { return descriptor_.get(); }

private:
    void remove();

    std::string path_;
    owned_descriptor descriptor_;
};

// Says which folder is for temporary files, before the first one is made; /tmp unless said.
void keep_private_files_below(std::string_view folder);

// Removes the folder with all files in it; nothing when there is none. A signal handler may call
// it.
void remove_private_files();

}  // namespace norvik

#endif
