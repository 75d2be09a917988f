// What the tests of the services share: memory that can be made to fail, files and redirections.
#pragma once

#include <gtest/gtest.h>
#include <norviktdm/runtime.h>
#include <unistd.h>

#include <string>
#include <string_view>

namespace support {

/// The executable's mem_* functions take the place of the shared library's and count here.
struct memory_account {
    long live_blocks;
    long requests_until_failure;  // negative: never
};
extern memory_account memory;

/// A temporary file that is gone when its stream is closed, holding `text`.
struct scratch_file {
    explicit scratch_file(std::string_view text = "") {
        std::fwrite(text.data(), 1, text.size(), stream);
        std::rewind(stream);
    }
    ~scratch_file() { std::fclose(stream); }
    scratch_file(const scratch_file &) = delete;
    scratch_file &operator=(const scratch_file &) = delete;

    std::string contents() const {
        std::string text(1 << 16, '\0');
        text.resize(static_cast<size_t>(pread(descriptor, text.data(), text.size(), 0)));
        return text;
    }

    FILE *stream = std::tmpfile();
    int descriptor = fileno(stream);
};

/// Lets a standard descriptor stand for another one.
class redirection {
public:
    redirection(int standard, int target) : standard_(standard), saved_(dup(standard)) {
        std::fflush(stdout);
        dup2(target, standard);
    }
    ~redirection() {
        std::fflush(stdout);
        dup2(saved_, standard_);
        close(saved_);
    }
    redirection(const redirection &) = delete;
    redirection &operator=(const redirection &) = delete;

private:
    int standard_, saved_;
};

}  // namespace support
