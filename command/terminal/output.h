// Where the command's data and words go. Data is buffered and every failed write is noticed;
// words go to standard error, prefixed.
#ifndef NORVIK_OUTPUT_H
#define NORVIK_OUTPUT_H

#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "exit_status.h"
#include "owned_descriptor.h"

namespace norvik {

// A buffered writer on a descriptor. The first failure is remembered (later writes do nothing) and
// reported once, by finish(). A closed pipe ends the process by SIGPIPE, silently, until
// tell_done has been called.
class output_writer {
public:
    // Writes to a duplicate of `descriptor`, which stays the caller's. `name` is used in the
    // message of a failure.
    output_writer(int descriptor, std::string name);

    // Writes to `descriptor` itself, and closes it at the end.
    output_writer(owned_descriptor descriptor, std::string name);

    // Lets go of the descriptor and writes to this one; forgets what was written, and that it
    // failed.
    void start_again(owned_descriptor descriptor) {
        descriptor_.release();
        descriptor_ = std::move(descriptor);
        error_ = {};
        used_ = 0;
    }

    void write(std::string_view bytes) {
        if (bytes.size() > capacity - used_) {
            write_past(bytes);
            return;
        }
        std::memcpy(buffer_.get() + used_, bytes.data(), bytes.size());
        used_ += bytes.size();
    }
    void put(char byte) { write(std::string_view(&byte, 1)); }
    void printf(const char *format, ...) __attribute__((format(printf, 2, 3)));

    // Hands what is buffered to the system.
    void flush();
    bool failed() const { return static_cast<bool>(error_); }

    // Flushes and closes its descriptor; 0, or status_trouble after a message.
    exit_status finish();

    // The same without a message: the first failure.
    std::error_code close_and_take_error();

private:
    void write_out(const char *bytes, std::size_t size);
    void write_past(std::string_view bytes);

    static constexpr std::size_t capacity = std::size_t{1} << 16;
    owned_descriptor descriptor_;
    std::error_code error_;
    std::string name_;
    std::unique_ptr<char[]> buffer_{new char[capacity]};
    std::size_t used_ = 0;
};

// The one writer for standard output; finished by finish_standard_output at the end of the run.
output_writer &standard_output();

// Makes it a new writer, for a run to begin with.
void begin_standard_output();

// What a command says once its file is in place. It is made before, so that saying it then takes no
// memory. From then on a closed pipe is a failed write, which is told as such.
struct done_report {
    std::string words;  // for standard output
    std::string done;   // what holds even if they cannot be written, such as "main@5 is stored"
};
void tell_done(done_report &&report);

// Lets what the library writes to standard output leave in larger pieces than a pipe's or a
// device's own; to be called before it writes.
void widen_standard_stream();

// Flushes standard output, what the library has written to it included, and closes it; 0, or
// status_trouble after a message. Called by the frame; a second call gives the same result again,
// or a failure when anything was written in between, which has gone nowhere.
exit_status finish_standard_output();

// Makes that result status_trouble: what was written has not reached its reader.
void standard_output_is_lost();

// The formatted text, of whatever length.
std::string formatted(const char *format, va_list arguments);

// Prints finished words on standard error as they are, after what is waiting for standard output.
void pass_on_words(std::string_view words);

// Prints "tdm: " and the formatted words on standard error, after what is waiting for standard
// output; a newline is added.
void say(const char *format, ...) __attribute__((format(printf, 1, 2)));

// Prints "tdm: NAME: reason" or, with a line (from 1), "tdm: NAME:LINE: reason"; the name "-" is
// standard input's.
void say_of_file(std::string_view name, std::string_view reason);
void say_of_line(std::string_view name, std::uint64_t line, std::string_view reason);

// say_of_file with the text of `error` (an errno value) after `what`; returns status_trouble.
exit_status say_errno(std::string_view name, const char *what, int error);
inline exit_status say_errno(std::string_view name, const char *what, std::error_code error) {
    return say_errno(name, what, error.value());
}

}  // namespace norvik

#endif
