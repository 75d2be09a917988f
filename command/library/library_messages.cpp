// The message services of the library, in place of the runtime's: its messages show the names that
// the user gave, and what is no text is told in the command's words, with the line.
#include <dlfcn.h>
#include <fcntl.h>
#include <norviktdm/runtime.h>
#include <norviktdm/tdm.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

#include "container_view.h"
#include "escaped_text.h"
#include "out_of_memory.h"
#include "output.h"
#include "owned_descriptor.h"
#include "record_line.h"
#include "shown_path.h"
#include "stored_line.h"
#include "system_calls.h"

namespace {

constexpr int catalogue_is_the_format = -1;
constexpr int failure_severity = 6;
constexpr int internal_error_number = 34;

// Numbers in the library's catalogue.
constexpr std::uint16_t line_too_long = 7;
constexpr std::uint16_t holds_nul = 8;
constexpr std::uint16_t advice_on_binary_data[] = {9, 43, 44, 45, 46, 47};

std::uint16_t number_in_library(const void *catalogue, int index) {
    const bool known = catalogue == &_tdm_text_file_delta_msg_table && index >= 0 &&
                       index < _tdm_text_file_delta_msg_table.count;
    return known ? _tdm_text_file_delta_msg_table.numbers[index] : std::uint16_t{0};
}

const char *format_of(const void *catalogue, int index) {
    if (index == catalogue_is_the_format) {
        return static_cast<const char *>(catalogue);
    }
    const auto *table = static_cast<const msg_table *>(catalogue);
    const bool known = table != nullptr && index >= 0 && index < table->count;
    return known ? table->texts[index] : "Unknown message.\n";
}

// What the runtime would do with the finished text; it renders the emphasis that formats hold.
void print_report(const std::string &text) {
    std::string format;
    for (const char byte : text) {
        format.append(byte == '%' ? 2 : 1, byte);
    }
    static const auto next =
        reinterpret_cast<void (*)(int, const void *, int, ...)>(dlsym(RTLD_NEXT, "msg_print"));
    next(msg_severity_report, format.c_str(), catalogue_is_the_format);
}

// Looks for the place that the library does not tell. A line that begins with a circumflex is
// stored with another one.
void say_why_no_text(const char *path) try {
    const std::string_view name = norvik::name_of_path(path);
    const norvik::owned_descriptor file(norvik::sys::open(path, norvik::sys::read_at_once));
    norvik::file_bytes bytes;
    std::string_view rest;
    if (file.is_open() && !bytes.load(file.get())) {
        rest = bytes.view();
    }
    for (std::uint64_t number = 1; !rest.empty(); number++) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        const std::string_view whole = rest.substr(0, line.size() + 1);
        if (!norvik::can_be_stored(whole)) {
            norvik::say_of_line(name, number,
                                "is no line of text: " + norvik::why_not_stored(whole));
            return;
        }
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    norvik::say_of_file(name, "is no text: it holds a NUL byte or a line of more than " +
                                  std::to_string(norvik::longest_line) + " bytes");
} catch (const std::bad_alloc &) {  // here and below: the library must not be unwound
    norvik::note_out_of_memory();
}

void print(int severity, const char *format, va_list arguments) try {
    const std::string text = norvik::formatted(format, arguments);
    if (severity == msg_severity_report) {
        print_report(text);
    } else {
        norvik::pass_on_words(norvik::with_shown_paths(text, norvik::escape_name));
    }
} catch (const std::bad_alloc &) {
    norvik::note_out_of_memory();
}

}  // namespace

void msg_print(int severity, const void *catalogue, int index, ...) {
    const std::uint16_t number = number_in_library(catalogue, index);
    va_list arguments;
    va_start(arguments, index);
    if (number == line_too_long || number == holds_nul) {
        say_why_no_text(va_arg(arguments, const char *));
    } else if (std::ranges::find(advice_on_binary_data, number) ==
               std::end(advice_on_binary_data)) {
        print(severity, format_of(catalogue, index), arguments);
    }
    va_end(arguments);
}

const char *msg_strerror(int errnum) {
    if (errnum == ENOMEM) {
        norvik::note_out_of_memory();
    }
    return std::strerror(errnum);
}

void msg_print_shared(int severity, const char *, const msg_table *catalogue, int number, ...) {
    int index = 0;
    while (index < catalogue->count && catalogue->numbers[index] != number) {
        index++;
    }
    va_list arguments;
    va_start(arguments, number);
    print(severity, format_of(catalogue, index), arguments);
    va_end(arguments);
}

void log_internal_error(const char *prefix, const msg_table *catalogue, int index, const char *unit,
                        int line, int zero, ...) {
    va_list arguments;
    va_start(arguments, zero);
    print(failure_severity, format_of(catalogue, index), arguments);
    va_end(arguments);
    msg_print_shared(failure_severity, prefix, &shared_msg_table, internal_error_number, unit,
                     line);
}
