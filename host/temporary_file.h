// The file that a command writes before it replaces another, in the same folder and under a name
// of ours; and the removal of those that killed commands have left there.
#ifndef TDM_HOST_TEMPORARY_FILE_H
#define TDM_HOST_TEMPORARY_FILE_H

#include <string>

#include "file_lock.h"

namespace host {

// An empty file of mode 0600 beside the file that it will replace. It is locked as long as it is
// open, which tells a living command's file from a dead one's. Removed when the owner goes, unless
// it has been renamed.
class temporary_file {
public:
    temporary_file() = default;
    ~temporary_file() { remove(); }
    temporary_file(const temporary_file &) = delete;
    temporary_file &operator=(const temporary_file &) = delete;

    // Removes what dead commands have left for `target`, then creates the file; 0, or
    // status_trouble after a message.
    [[nodiscard]] int create(const std::string &target);

    const std::string &path() const { return path_; }
    int descriptor() const { return descriptor_.get(); }

    // Says that the path is no longer ours: the file has its final name.
    void renamed() { forget_path(); }
    void remove();

private:
    void forget_path();

    std::string path_;  // named to end_signals.h while it is not empty
    owned_descriptor descriptor_;
};

}  // namespace host

#endif
