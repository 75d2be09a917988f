// A file that is compared or merged: its bytes and lines, and the path by which the library opens
// it too.
#ifndef TDM_HOST_TEXT_FILE_H
#define TDM_HOST_TEXT_FILE_H

#include <string>
#include <vector>

#include "container_view.h"
#include "descriptor_path.h"
#include "file_attributes.h"
#include "owned_descriptor.h"
#include "shown_path.h"
#include "text_lines.h"

namespace host {

struct text_file {
    std::string name;  // as the user gave it
    std::string path;  // what the library opens; differs from the name for what is no regular file
    file_bytes bytes;  // these two after read_lines
    text_lines lines;
    owned_descriptor input;
    granted_rights rights;  // of the file that was opened
    shown_path shown;       // where messages would tell `path`
    bool is_copy = false;   // `input` holds the text in memory, and `copy` is its path
    descriptor_path copy;
};

// Refuses names that lead to the same stream: standard input ("-") and pipes can be read once, and
// a second reading would find an empty text. 0, or status_trouble after a message; nothing is read.
[[nodiscard]] int refuse_spent_input(const std::vector<std::string> &names);

// Opens `name`. A regular file is left where it is; "-" (standard input), a pipe or a device is
// copied into memory, which makes /dev/null an empty text. 0, or status_trouble after a message.
[[nodiscard]] int open_text_file(const std::string &name, text_file *out);

// Makes a text_file of a text that has no file of its own.
[[nodiscard]] int hold_text(const std::string &name, std::string_view text, text_file *out);

// Maps the text and finds its lines; a second call does nothing. Apart from opening, so that a
// comparison of large texts need not have them in memory while the library reads them.
[[nodiscard]] int read_lines(text_file *file);

}  // namespace host

#endif
