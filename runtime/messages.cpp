// Messages: a text of a catalogue, its arguments, and nothing else. Emphasis is rendered in the
// format, before the arguments come in: a file name or a line of text passes unchanged.
#include <norviktdm/runtime.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "emphasis.h"
#include "message_output.h"

namespace {

constexpr int catalogue_is_the_format = -1;

const char *const shared_texts[] = {
    "Internal error detected in \"%s\", line %d.\n",
    "Please contact your administrator; the damaged file has been left as it is.\n",
};
constexpr uint16_t shared_numbers[] = {runtime::shared_internal_error, 142};
constexpr uint16_t shared_count = sizeof shared_numbers / sizeof *shared_numbers;
static_assert(shared_count == sizeof shared_texts / sizeof *shared_texts);

const char *text_at(const msg_table *table, int index) {
    const bool known = table != nullptr && index >= 0 && index < table->count;
    return known ? table->texts[index] : "Unknown message.\n";
}

const char *format_of(const void *catalogue, int index) {
    return index == catalogue_is_the_format
               ? static_cast<const char *>(catalogue)
               : text_at(static_cast<const msg_table *>(catalogue), index);
}

int index_of_number(const msg_table *table, int number) {
    for (int i = 0; table != nullptr && i < table->count; ++i) {
        if (table->numbers[i] == number) {
            return i;
        }
    }
    return -1;
}

}  // namespace

const msg_table shared_msg_table = {
    .facility_name = "shared",
    .facility_prefix = "norvik",
    .highest_number = shared_numbers[shared_count - 1],
    .count = shared_count,
    .texts = shared_texts,
    .numbers = shared_numbers,
};

void runtime::print_format(int severity, const char *format, va_list arguments) {
    FILE *stream = stdout;
    if (severity != report_severity) {
        std::fflush(stdout);
        stream = stderr;
    }
    const rendered_text shown(format, stream);
    std::vfprintf(stream, shown.c_str(), arguments);
}

void msg_print(int severity, const void *catalogue, int index, ...) {
    va_list arguments;
    va_start(arguments, index);
    runtime::print_format(severity, format_of(catalogue, index), arguments);
    va_end(arguments);
}

int msg_sprintf(char *buffer, const void *catalogue, int index, ...) {
    va_list arguments;
    va_start(arguments, index);
    const int length = std::vsprintf(buffer, format_of(catalogue, index), arguments);
    va_end(arguments);
    return length;
}

const char *msg_strerror(int errnum) {
    return std::strerror(errnum);
}

void msg_print_shared(int severity, const char *, const msg_table *catalogue, int number, ...) {
    va_list arguments;
    va_start(arguments, number);
    runtime::print_format(severity, text_at(catalogue, index_of_number(catalogue, number)),
                          arguments);
    va_end(arguments);
}

void log_internal_error(const char *prefix, const msg_table *catalogue, int index, const char *unit,
                        int line, int zero, ...) {
    va_list arguments;
    va_start(arguments, zero);
    runtime::print_format(runtime::failure_severity, text_at(catalogue, index), arguments);
    va_end(arguments);
    msg_print_shared(runtime::failure_severity, prefix, &shared_msg_table,
                     runtime::shared_internal_error, unit, line);
}
