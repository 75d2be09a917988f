// The text of a version that a command is given: read once into memory, and at hand as a file for
// the library.
#ifndef NORVIK_INPUT_TEXT_H
#define NORVIK_INPUT_TEXT_H

#include <string>
#include <string_view>

#include "descriptor_path.h"
#include "file_attributes.h"
#include "memory_file.h"

namespace norvik {

class input_text {
public:
    // Reads the file `name`, "-" for standard input: a regular one, /dev/null, or what can be read
    // to its end within longest_stream.
    result<> read(const std::string &name);

    // The same from an open file, which must be at its start and stay open as long as this object
    // when it is a regular one.
    result<> read(int descriptor, const std::string &name);

    // Takes a text that comes from no file.
    result<> take(std::string text);

    const std::string &text() const { return text_; }

    // The path of a file that holds the text, as long as this object lives: the file that was
    // opened, or for standard input, a pipe and the like one in memory.
    const std::string &path() const {
        return can_be_read_again() ? file_path_.path() : memory_.path();
    }

    // Who may read the file that the text was read from.
    const granted_rights &rights() const { return rights_; }

    // The file that was opened by its name, open as long as this object; -1 for other inputs.
    int descriptor() const { return file_.get(); }

    // Whether the same text can be had again by reading the same name.
    bool can_be_read_again() const { return memory_.path().empty(); }

private:
    result<> put_into_memory_file(std::string_view name);

    std::string text_;
    owned_descriptor file_;
    descriptor_path file_path_;  // of the file, and how messages call it
    shown_path shown_;
    granted_rights rights_;
    memory_file memory_;
};

}  // namespace norvik

#endif
