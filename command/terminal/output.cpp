// Data goes through one buffer, as a rule a system call for each 64 KiB. The library prints through
// the stream stdout, with a buffer of its own on the same descriptor; words wait for both, so that
// a terminal shows them where they belong.
#include "output.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "escaped_text.h"
#include "exit_status.h"
#include "failure.h"
#include "out_of_memory.h"
#include "progress.h"
#include "system_calls.h"

namespace norvik {

std::string formatted(const char *format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    char buffer[512];
    const int size = std::vsnprintf(buffer, sizeof buffer, format, arguments);
    std::string text;
    if (size >= 0 && static_cast<std::size_t>(size) < sizeof buffer) {
        text.assign(buffer, static_cast<std::size_t>(size));
    } else if (size > 0) {
        text.resize(static_cast<std::size_t>(size));
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}

void pass_on_words(std::string_view words) {
    clear_progress_bar();
    standard_output().flush();
    std::fflush(stdout);
    // One call, so that the lines of commands that run side by side do not mix.
    std::fwrite(words.data(), 1, words.size(), stderr);
}

namespace {

void print_words(std::string_view words) {
    std::string line = "tdm: ";
    line += words;
    line += '\n';
    pass_on_words(line);
}

// Standard input is named so throughout; a file may be called "-" as "./-" alone.
std::string shown_name(std::string_view name) {
    return name == "-" ? "<stdin>" : escape_name(name);
}

bool standard_output_finished = false;
exit_status standard_output_result = status_done;
std::string done_before_output;  // what has been done, whatever becomes of standard output

}  // namespace

output_writer::output_writer(int descriptor, std::string name)
    : descriptor_(sys::duplicate(descriptor)),
      error_(descriptor_.is_open() ? std::error_code() : last_error()),
      name_(std::move(name)) {}

output_writer::output_writer(owned_descriptor descriptor, std::string name)
    : descriptor_(std::move(descriptor)), name_(std::move(name)) {}

void output_writer::write_out(const char *bytes, std::size_t size) {
    while (size > 0 && !error_) {
        const ssize_t written = sys::write(descriptor_.get(), bytes, size);
        if (written < 0 && errno != EINTR) {
            error_ = last_error();
        } else if (written > 0) {
            bytes += written;
            size -= static_cast<std::size_t>(written);
        }
    }
}

void output_writer::write_past(std::string_view bytes) {
    flush();
    if (bytes.size() >= capacity) {
        write_out(bytes.data(), bytes.size());
    } else {
        write(bytes);
    }
}

void output_writer::printf(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    write(formatted(format, arguments));
    va_end(arguments);
}

void output_writer::flush() {
    write_out(buffer_.get(), used_);
    used_ = 0;
}

std::error_code output_writer::close_and_take_error() {
    flush();
    if (descriptor_.is_open() && sys::close(descriptor_.release()) != 0 && !error_ &&
        errno != EINTR) {
        error_ = last_error();
    }
    return std::exchange(error_, {});
}

exit_status output_writer::finish() {
    const std::error_code error = close_and_take_error();
    return !error ? status_done : say_errno(name_, "cannot write", error);
}

output_writer &standard_output() {
    // Never destroyed: the descriptor is the process's, also after main.
    static output_writer &writer = *new output_writer(owned_descriptor(STDOUT_FILENO), "<stdout>");
    return writer;
}

void begin_standard_output() {
    standard_output().start_again(owned_descriptor(STDOUT_FILENO));
    standard_output_finished = false;
    standard_output_result = status_done;
    done_before_output.clear();
}

void tell_done(done_report &&report) {
    // What is done is told, also to those who read no further.
    signal(SIGPIPE, SIG_IGN);
    standard_output().write(report.words);
    done_before_output = std::move(report.done);
}

void widen_standard_stream() {
    static char buffer[std::size_t{1} << 16];
    std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
}

exit_status finish_standard_output() {
    if (std::exchange(standard_output_finished, true)) {
        // What was written since has gone nowhere.
        if (const std::error_code late = standard_output().close_and_take_error()) {
            standard_output_result = say_errno("<stdout>", "cannot write", late);
        }
        return standard_output_result;
    }
    // What the library has printed through the stream shares the descriptor; a descriptor that was
    // closed from the start (EBADF with nothing to write) is no failure.
    std::error_code stream_error = std::fflush(stdout) != 0 ? last_error() : std::error_code();
    if (!stream_error && std::ferror(stdout) != 0) {
        stream_error = system_error(EIO);  // of an earlier call, whose cause is no longer known
    }
    const std::error_code own_error = standard_output().close_and_take_error();
    const std::error_code error = own_error ? own_error : stream_error;
    if (error && !done_before_output.empty()) {
        say("%s, but <stdout> could not be written: %s", done_before_output.c_str(),
            std::strerror(error.value()));
        standard_output_result = status_trouble;
    } else if (error) {
        standard_output_result = say_errno("<stdout>", "cannot write", error);
    }
    return standard_output_result;
}

void standard_output_is_lost() {
    standard_output_result = status_trouble;
}

void say(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    print_words(formatted(format, arguments));
    va_end(arguments);
}

void say_of_file(std::string_view name, std::string_view reason) {
    print_words(shown_name(name) + ": " + std::string(reason));
}

void say_of_line(std::string_view name, std::uint64_t line, std::string_view reason) {
    print_words(shown_name(name) + ":" + std::to_string(line) + ": " + std::string(reason));
}

exit_status say_errno(std::string_view name, const char *what, int error) {
    if (error == ENOMEM) {
        note_out_of_memory();
    }
    say_of_file(name, std::string(what) + ": " + std::strerror(error));
    return status_trouble;
}

}  // namespace norvik
