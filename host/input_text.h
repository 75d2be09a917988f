// The text of a version that a command is given: read once into memory, and at hand as a file for
// the library.
#ifndef TDM_HOST_INPUT_TEXT_H
#define TDM_HOST_INPUT_TEXT_H

#include <string>

namespace host {

class input_text {
public:
    input_text() = default;
    ~input_text();
    input_text(const input_text &) = delete;
    input_text &operator=(const input_text &) = delete;

    // Reads the file `name`, "-" for standard input; 0, or status_trouble after a message. What is
    // no regular file (a pipe) is put into a temporary file as well.
    [[nodiscard]] int read(const std::string &name);

    // The same, for a regular file only.
    [[nodiscard]] int read_regular(const std::string &name);

    // Takes a text that comes from no file, and puts it into a temporary file.
    [[nodiscard]] int take(std::string text);

    const std::string &text() const { return text_; }

    // The path of a file that holds the text.
    const std::string &path() const { return path_; }

private:
    [[nodiscard]] int read_descriptor(int descriptor, const std::string &name, bool &regular);
    [[nodiscard]] int put_into_temporary_file(const std::string &name);

    std::string text_;
    std::string path_;
    bool temporary_ = false;
};

}  // namespace host

#endif
