// Files for a moment, and standard descriptors that stand for them.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>
#include <string_view>

namespace support {

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
        std::string text(static_cast<size_t>(lseek(descriptor, 0, SEEK_END)), '\0');
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
