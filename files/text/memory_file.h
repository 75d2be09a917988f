// A file in memory, for text that the library must find under a path: no disk holds it, and nothing
// of it is left when the command is killed. Where descriptors have no paths (descriptor_path.h) it
// is a private file.
#ifndef NORVIK_MEMORY_FILE_H
#define NORVIK_MEMORY_FILE_H

#include <cstdio>
#include <string>
#include <string_view>
#include <system_error>

#include "private_file.h"
#include "shown_path.h"

namespace norvik {

// An empty file in memory that needs no path; not open, with errno set, where there is none.
[[nodiscard]] owned_descriptor open_memory();

class memory_file {
public:
    // An empty file, which messages call `name`.
    [[nodiscard]] std::error_code create(std::string_view name);
    // Appends to it.
    [[nodiscard]] std::error_code write(std::string_view bytes) const;
    // Appends what follows in an open file. What is no regular file may have no end: EFBIG past
    // longest_stream.
    [[nodiscard]] std::error_code copy_from(int descriptor) const;

    // By which this process, and no other, can open it as long as the object lives.
    const std::string &path() const { return path_; }
    int descriptor() const {
        return descriptor_.is_open() ? descriptor_.get() : file_.descriptor();
    }

private:
    owned_descriptor descriptor_;  // or else
    private_file file_;
    std::string path_;
    shown_path shown_;
};

// What the library's service for temporary files gives out: `file` made anew and opened for
// writing, which messages call by the newest shown name; its path into `path`. Null with errno set,
// also when the path does not fit. The library has one such file at a time.
[[nodiscard]] std::FILE *open_as_temporary(memory_file *file, char *path, std::size_t path_size);

}  // namespace norvik

#endif
