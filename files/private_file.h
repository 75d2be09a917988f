// A file that only this user can reach and that goes with the command, for what the library must
// find by a path where a descriptor has none (see descriptor_path.h).
#ifndef NORVIK_PRIVATE_FILE_H
#define NORVIK_PRIVATE_FILE_H

#include <string>

#include "owned_descriptor.h"

namespace norvik {

// Empty at first, of mode 0600, in a folder of mode 0700 that is made below $TMPDIR, or below /tmp
// when others may rename what stands there. The file goes with its owner, the folder with the
// command, also when a signal ends it.
class private_file {
public:
    private_file() = default;
    ~private_file() { remove(); }
    private_file(private_file &&other) noexcept;
    private_file &operator=(private_file &&other) noexcept;

    // 0 or an errno value.
    [[nodiscard]] int create();

    const std::string &path() const { return path_; }
    int descriptor() const { return descriptor_.get(); }

private:
    void remove();

    std::string path_;
    owned_descriptor descriptor_;
};

// Removes the folder with all files in it; nothing when there is none. A signal handler may call
// it.
void remove_private_files();

}  // namespace norvik

#endif
