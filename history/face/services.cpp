// What the library takes from its host, for a host without a mouth: its words are collected for the
// error that follows, its temporary file is in memory, and nothing is shared between threads.
#include <norviktdm/runtime.h>
#include <norviktdm/tdm.h>
#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <new>
#include <string>

#include "error.h"
#include "memory_file.h"
#include "shown_path.h"

namespace {

struct library_state {
    std::string words;  // lines, each with its newline
    bool missed_memory = false;
    norvik::memory_file temporary;
    unsigned guard_depth = 0;
    sigset_t mask_before{};
};

thread_local library_state state;

void *noted(void *block) {
    state.missed_memory |= block == nullptr;
    return block;
}

constexpr int catalogue_is_the_format = -1;
constexpr int internal_error_number = 34;

const char *format_of(const void *catalogue, int index) {
    if (index == catalogue_is_the_format) {
        return static_cast<const char *>(catalogue);
    }
    const auto *table = static_cast<const msg_table *>(catalogue);
    const bool known = table != nullptr && index >= 0 && index < table->count;
    return known ? table->texts[index] : "Unknown message.\n";
}

std::string name_itself(std::string_view name) {
    return std::string(name);
}

// The library must not be unwound.
void collect(const char *format, va_list arguments) try {
    va_list again;
    va_copy(again, arguments);
    const int size = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (size < 0) {
        return;
    }
    std::string text(static_cast<std::size_t>(size) + 1, '\0');
    (void)std::vsnprintf(text.data(), text.size(), format, arguments);
    text.resize(static_cast<std::size_t>(size));
    state.words += norvik::with_shown_paths(text, name_itself);
} catch (const std::bad_alloc &) {
    state.missed_memory = true;
}

}  // namespace

namespace norvik::face {

void listening::forget() noexcept {
    std::string().swap(state.words);
    state.missed_memory = false;
    state.temporary = {};
}

std::string take_library_words() {
    std::string words;
    words.swap(state.words);
    while (words.ends_with('\n') || words.ends_with(' ')) {
        words.pop_back();
    }
    for (std::size_t newline; (newline = words.find('\n')) != std::string::npos;) {
        words.replace(newline, 1, "; ");
    }
    return words;
}

bool library_missed_memory() noexcept {
    return state.missed_memory;
}

}  // namespace norvik::face

void *mem_malloc(std::size_t size) {
    return noted(std::malloc(std::max<std::size_t>(size, 1)));
}

void *mem_calloc(std::size_t count, std::size_t size) {
    return noted(std::calloc(std::max<std::size_t>(count, 1), std::max<std::size_t>(size, 1)));
}

void *mem_realloc(void *block, std::size_t size) {
    return noted(std::realloc(block, std::max<std::size_t>(size, 1)));
}

void mem_free(void *block) {
    std::free(block);
}

void msg_print(int, const void *catalogue, int index, ...) {
    va_list arguments;
    va_start(arguments, index);
    collect(format_of(catalogue, index), arguments);
    va_end(arguments);
}

const char *msg_strerror(int errnum) {
    state.missed_memory |= errnum == ENOMEM;
    return std::strerror(errnum);
}

void msg_print_shared(int, const char *, const msg_table *catalogue, int number, ...) {
    const std::uint16_t *const end = catalogue->numbers + catalogue->count;
    const std::uint16_t *const found = std::find(catalogue->numbers, end, number);
    va_list arguments;
    va_start(arguments, number);
    collect(format_of(catalogue, static_cast<int>(found - catalogue->numbers)), arguments);
    va_end(arguments);
}

void log_internal_error(const char *prefix, const msg_table *catalogue, int index, const char *unit,
                        int line, int zero, ...) {
    va_list arguments;
    va_start(arguments, zero);
    collect(format_of(catalogue, index), arguments);
    va_end(arguments);
    msg_print_shared(msg_severity_failure, prefix, &shared_msg_table, internal_error_number, unit,
                     line);
}

FILE *futil_tmpfile_binary(void *, void *, void *, char *name, std::size_t name_size) try {
    return norvik::open_as_temporary(&state.temporary, name, name_size);
} catch (const std::bad_alloc &) {
    state.missed_memory = true;
    errno = ENOMEM;
    return nullptr;
}

// What the library writes is forced to disk once it is proven (file_replace.h).
int sys_fsync_stream(FILE *stream) {
    if (std::fflush(stream) != 0) {
        return -1;
    }
    errno = std::ferror(stream) != 0 ? EIO : errno;
    return std::ferror(stream) != 0 ? -1 : 0;
}

// Of each thread by itself.
void guard_inhibit(void) {
    if (state.guard_depth++ != 0) {
        return;
    }
    sigset_t waiting;
    sigfillset(&waiting);
    for (const int synchronous : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT}) {
        sigdelset(&waiting, synchronous);
    }
    pthread_sigmask(SIG_BLOCK, &waiting, &state.mask_before);
}

void guard_enable(void) {
    if (state.guard_depth != 0 && --state.guard_depth == 0) {
        pthread_sigmask(SIG_SETMASK, &state.mask_before, nullptr);
    }
}
