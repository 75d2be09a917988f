// The path by which the library, which takes paths only, reaches a file that is open already: it
// opens what we hold, whatever has been put in the place of the file's name meanwhile.
//
// That path is the descriptor's own below /proc. Where /proc is not mounted the library gets a
// private copy (private_file.h), and what it wrote there is brought into the file afterwards.
#ifndef NORVIK_DESCRIPTOR_PATH_H
#define NORVIK_DESCRIPTOR_PATH_H

#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

#include "private_file.h"

namespace norvik {

// Whether descriptors have paths of their own here.
[[nodiscard]] bool descriptors_have_paths();

// The descriptor's own path.
[[nodiscard]] std::string own_path(int descriptor);

// Writes all of `bytes`.
[[nodiscard]] std::error_code write_bytes(int to, std::string_view bytes);

// Copies what follows from where `from` stands to where `to` stands; EFBIG when that is more than
// `most` bytes.
[[nodiscard]] std::error_code copy_bytes(int from, int to, std::uint64_t most = UINT64_MAX);

// The descriptor stays the caller's and must stay open as long as the path is used.
class descriptor_path {
public:
    // Makes the path one to read an open file by, from its start.
    [[nodiscard]] std::error_code read_from(int descriptor);

    // Makes the path one to write an open file by, and empties the file.
    [[nodiscard]] std::error_code write_to(int descriptor);

    // After write_to, when the library has closed what it wrote: sees that it is in the file.
    [[nodiscard]] std::error_code finish_writing();

    const std::string &path() const { return path_; }

private:
    std::string path_;
    private_file copy_;  // where descriptors have no paths
    int target_ = -1;    // after write_to, the file that the copy is for
};

}  // namespace norvik

#endif
