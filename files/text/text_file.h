// A text that is opened once, for its bytes and for the library.
#ifndef NORVIK_TEXT_FILE_H
#define NORVIK_TEXT_FILE_H

#include <sys/stat.h>

#include <string>
#include <vector>

#include "descriptor_path.h"
#include "file_attributes.h"
#include "file_bytes.h"
#include "owned_descriptor.h"
#include "shown_path.h"

namespace norvik {

struct text_file {
    std::string name;        // as the user gave it
    file_bytes bytes;        // empty until somebody loads them from `input`
    owned_descriptor input;  // the one opening; of what is no regular file, a copy in memory
    granted_rights rights;   // of the file that was opened
    descriptor_path path;    // by which the library reads it
    shown_path shown;        // its messages show the name
};

// Refuses names that lead to the same stream: standard input ("-") and pipes can be read once, and
// a second reading would find an empty text. Nothing is read.
result<> refuse_spent_input(const std::vector<std::string> &names);

// Refuses a device that is neither a terminal nor /dev/null: it may have no end. `status` is of the
// open file, and `name` what the failure calls it.
result<> refuse_device(int descriptor, const struct stat &status, const std::string &name);

// Opens `name`. A regular file stays where it is; "-" (standard input), a pipe or a terminal is
// copied into memory, as far as longest_stream, and /dev/null is an empty text.
result<> open_text_file(const std::string &name, text_file *out);

// Makes a text_file of a text that has no file of its own.
result<> hold_text(const std::string &name, std::string_view text, text_file *out);

}  // namespace norvik

#endif
