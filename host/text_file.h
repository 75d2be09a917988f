// A file that is compared or merged: its bytes and lines, and the path by which the library opens
// it too.
#ifndef TDM_HOST_TEXT_FILE_H
#define TDM_HOST_TEXT_FILE_H

#include <string>

#include "container_view.h"
#include "file_lock.h"
#include "text_lines.h"

namespace host {

struct text_file {
    std::string name;  // as the user gave it
    std::string path;  // what the library opens; differs from the name for what is no regular file
    file_bytes bytes;
    text_lines lines;
    owned_descriptor copy;  // holds the text of a pipe or a device in memory; else closed
};

// Reads `name`: a regular file is mapped; "-" (standard input), a pipe or a device is copied, which
// makes /dev/null an empty text. Returns 0, or status_trouble after a message.
[[nodiscard]] int load_text_file(const std::string &name, text_file *out);

// Makes a text_file of a text that has no file of its own.
[[nodiscard]] int hold_text(const std::string &name, std::string_view text, text_file *out);

}  // namespace host

#endif
