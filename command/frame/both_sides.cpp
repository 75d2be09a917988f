// System calls and the stack alone. The new file is written beside ours, forced to disk, and takes
// its name: whenever it ends, ours is what it was or has both sides between markers.
#include "both_sides.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "end_removal.h"
#include "exit_status.h"
#include "failure.h"
#include "file_lock.h"
#include "out_of_memory.h"
#include "owned_descriptor.h"
#include "system_calls.h"

namespace norvik {

namespace {

constexpr int not_regular = EINVAL;

// Writes to a descriptor and remembers the first failure.
class sides_writer {
public:
    explicit sides_writer(int to) : to_(to) {}

    std::error_code error() const { return error_; }
    void fail(std::error_code error) { error_ = error_ ? error_ : error; }

    void write(const char *bytes, std::size_t size) {
        while (size > 0 && !error_) {
            const ssize_t written = sys::write(to_, bytes, size);
            if (written < 0 && errno != EINTR) {
                fail(last_error());
            } else if (written > 0) {
                bytes += written;
                size -= static_cast<std::size_t>(written);
            }
        }
    }

    void write_marker(char mark, int size, const char *label) {
        for (int i = 0; i < size; i++) {
            write(&mark, 1);
        }
        if (label != nullptr) {
            write(" ", 1);
            write(label, std::strlen(label));
        }
        write("\n", 1);
    }

    // Copies what is left of `from` and ends its last line; why it could not be read, if so.
    std::error_code copy(int from) {
        char last = '\n';
        for (;;) {
            char buffer[4096];
            const ssize_t size = sys::read(from, buffer, sizeof buffer);
            if (size > 0) {
                write(buffer, static_cast<std::size_t>(size));
                last = buffer[size - 1];
            } else if (size == 0 || errno != EINTR) {
                const std::error_code error = size == 0 ? std::error_code() : last_error();
                write("\n", last == '\n' ? 0 : 1);
                return error;
            }
        }
    }

private:
    int to_;
    std::error_code error_;
};

void write_sides(const both_sides &sides, int ours, int theirs, sides_writer *out) {
    out->write_marker('<', sides.marker_size, sides.ours_label);
    if (const std::error_code error = out->copy(ours); error) {
        out->fail(error);
    }
    out->write_marker('=', sides.marker_size, nullptr);
    // A part of theirs is more than none of it; without ours there is no result.
    (void)out->copy(theirs);
    out->write_marker('>', sides.marker_size, sides.theirs_label);
}

// Opens a regular file: anything else may have no end, or has been read (errno is not_regular).
owned_descriptor open_side(const char *path) {
    owned_descriptor side(sys::open(path, sys::read_at_once));
    struct stat status {};
    if (!side.is_open() || sys::fstat(side.get(), &status) != 0) {
        return {};
    }
    if (!S_ISREG(status.st_mode)) {
        side = owned_descriptor();
        errno = not_regular;
    }
    return side;
}

// Makes a name in the folder of `path` that nobody can foresee.
std::error_code name_beside(const char *path, char (&beside)[PATH_MAX]) {
    const char *slash = std::strrchr(path, '/');
    const int folder = slash == nullptr ? 0 : static_cast<int>(slash + 1 - path);
    std::uint64_t random[2];
    if (getentropy(random, sizeof random) != 0) {
        return last_error();
    }
    const int length = std::snprintf(beside, sizeof beside, "%.*s.tdm-%016" PRIx64 "%016" PRIx64,
                                     folder, path, random[0], random[1]);
    const bool fits = length > 0 && length < int{sizeof beside};
    return fits ? std::error_code() : system_error(ENAMETOOLONG);
}

// Writes the new file `beside` and gives it the name of ours.
std::error_code replace_by_sides(const both_sides &sides, int ours, int theirs,
                                 const char *beside) {
    const int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    const owned_descriptor out(sys::open(beside, flags, 0600));
    if (!out.is_open()) {
        return last_error();
    }
    sides_writer writer(out.get());
    write_sides(sides, ours, theirs, &writer);
    struct stat old {
    }, written{};
    if (sys::fstat(ours, &old) != 0 || sys::fchmod(out.get(), old.st_mode & 07777) != 0 ||
        sys::fsync(out.get()) != 0 || sys::fstat(out.get(), &written) != 0) {
        writer.fail(last_error());
    }
    // Should somebody else have the name by now, his file is neither renamed nor removed.
    const bool is_there = look_by_name(AT_FDCWD, beside, written).same;
    writer.fail(is_there ? std::error_code() : system_error(ESTALE));
    if (!writer.error() && std::rename(beside, sides.ours) != 0) {
        writer.fail(last_error());
    }
    if (writer.error() && is_there) {
        unlink(beside);
    }
    return writer.error();
}

both_sides given_sides;

exit_status keep_given_sides() {
    if (!write_both_sides(given_sides)) {
        say_sides_are_kept();
        return status_negative;
    }
    say_without_memory("; our side is left as it is");
    return status_trouble;
}

}  // namespace

void say_sides_are_kept() noexcept {
    say_without_memory("; both sides are kept between markers");
}

std::error_code write_both_sides(const both_sides &sides) noexcept {
    const owned_descriptor ours = open_side(sides.ours);
    if (!ours.is_open()) {
        return last_error();
    }
    const owned_descriptor theirs = open_side(sides.theirs);
    if (!theirs.is_open() && errno == not_regular) {
        return last_error();
    }
    char beside[PATH_MAX];
    if (const std::error_code error = name_beside(sides.ours, beside); error) {
        return error;
    }
    remove_at_end(beside);
    const std::error_code error = replace_by_sides(sides, ours.get(), theirs.get(), beside);
    keep_at_end(beside);
    return error;
}

exit_status (*last_resort_for(int argc, char **argv) noexcept)() {
    if (argc < 2 || std::strcmp(argv[1], "git-merge") != 0) {
        return nullptr;
    }
    constexpr int most = 4;  // BASE OURS THEIRS SIZE
    const char *operands[most] = {};
    int count = 0;
    bool options_ended = false;
    for (int i = 2; i < argc && count < most; i++) {
        const char *word = argv[i];
        if (!options_ended && word[0] == '-') {
            options_ended = std::strcmp(word, "--") == 0;
            // These two take the next word.
            i += std::strcmp(word, "--style") == 0 || std::strcmp(word, "--color") == 0 ? 1 : 0;
        } else {
            operands[count++] = word;
        }
    }
    if (operands[2] == nullptr) {
        return nullptr;
    }
    given_sides = {};
    given_sides.ours = operands[1];
    given_sides.theirs = operands[2];
    const int size = operands[3] == nullptr ? 0 : std::atoi(operands[3]);
    given_sides.marker_size = size > 0 && size <= 1000 ? size : given_sides.marker_size;
    return keep_given_sides;
}

}  // namespace norvik
