// The bytes are read once; what cannot be read again gets a second copy, in a file in memory.
#include "input_text.h"

#include <utility>

#include "file_bytes.h"
#include "file_lock.h"
#include "system_calls.h"
#include "text_file.h"

namespace norvik {

result<> input_text::read(const std::string &name) {
    if (name == "-") {
        return read(STDIN_FILENO, name);
    }
    auto opened = open_to_read(name);
    if (!opened) {
        return opened.failure();
    }
    file_ = std::move(*opened);
    return read(file_.get(), name);
}

result<> input_text::read(int descriptor, const std::string &name) {
    const bool standard = name == "-";
    const std::string shown = standard ? "<stdin>" : name;
    struct stat status {};
    if (sys::fstat(descriptor, &status) != 0) {
        return system_failure(shown, "cannot be read", last_error());
    }
    if (auto fits = refuse_device(descriptor, status, shown); !fits) {
        return fits;
    }
    const bool regular = S_ISREG(status.st_mode);
    const auto expected = regular ? static_cast<std::size_t>(status.st_size) : 0;
    std::error_code error = rights_.add(descriptor);
    error = error ? error : read_to_end(descriptor, expected, &text_);
    // Where standard input stands is shared with others, and its name leads to no file.
    if (!error && (!regular || standard)) {
        return put_into_memory_file(shown);
    }
    error = error ? error : file_path_.read_from(descriptor);
    shown_ = shown_path(file_path_.path(), name);
    return error ? system_failure(shown, "cannot be read", error) : result<>();
}

result<> input_text::take(std::string text) {
    text_ = std::move(text);
    return put_into_memory_file("<the version before>");
}

result<> input_text::put_into_memory_file(std::string_view name) {
    std::error_code error = memory_.create(name);
    error = error ? error : memory_.write(text_);
    return error ? system_failure(name, "cannot be held in memory", error) : result<>();
}

}  // namespace norvik
