// The file that a command writes before it replaces another, in the same folder and under a name
// of ours; and the removal of those that killed commands have left there.
#ifndef NORVIK_TEMPORARY_FILE_H
#define NORVIK_TEMPORARY_FILE_H

#include <string>

#include "file_lock.h"

namespace norvik {

// An empty file of mode 0600 beside the file that it will replace. It is locked as long as it is
// open, which tells a living command's file from a dead one's. Removed when the owner goes, unless
// it has been renamed.
class temporary_file {
public:
    temporary_file() = default;
    ~temporary_file() { remove(); }
    temporary_file(const temporary_file &) = delete;
    temporary_file &operator=(const temporary_file &) = delete;

    // Removes what dead commands have left for `target`, then creates the file in its folder.
    // `target` must stay as long as the temporary file.
    result<> create(const locked_file &target);

    int descriptor() const { return descriptor_.get(); }

    // Gives it the target's name, in the place of what has that name or, when the target did not
    // exist, only when nothing has it. Looks before and after whether it is this file that the name
    // leads to; `note_replaced` is called in between, as soon as it has the name.
    result<> put_in_place(void (*note_replaced)() noexcept);

    // Removes it where it still has its name; nothing once it has been put in place.
    void remove();

private:
    void forget_path();
    second_look look_at_own_name() const;
    const char *base() const { return path_.c_str() + path_.rfind('/') + 1; }

    const locked_file *target_ = nullptr;
    std::string path_;  // named to end_removal.h while it is not empty
    owned_descriptor descriptor_;
};

}  // namespace norvik

#endif
