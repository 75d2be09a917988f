// Failures of the rooms as the errors of the C interface, and what every exported call is wrapped
// in: no exception leaves it, and want of memory becomes an error that needs none.
#ifndef NORVIK_FACE_ERROR_H
#define NORVIK_FACE_ERROR_H

#include <norviktdm/common.h>

#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include "failure.h"

struct norvik_error {
    int kind;
    int system;
    std::uint64_t line;
    const char *file;
    const char *reason;
    const char *message;
};

namespace norvik::face {

// The one error that is nobody's.
norvik_error *out_of_memory();

// The caller's. What the library has said since the call began stands before the reason.
norvik_error *make_error(const failure &why);
norvik_error *make_error(norvik_kind kind, std::string_view file, std::string_view reason);

// A null where none is allowed, or a number that means nothing.
inline norvik_error *refuse(std::string_view reason) {
    return make_error(norvik_kind_refused, {}, reason);
}

// As long as it lives, what the library says on this thread is collected; nothing is left of it
// afterwards.
struct listening {
    listening() noexcept { forget(); }
    ~listening() { forget(); }
    listening(const listening &) = delete;
    listening &operator=(const listening &) = delete;
    static void forget() noexcept;
};
// What it has said: words without a newline at the end. Whether it missed memory.
std::string take_library_words();
bool library_missed_memory() noexcept;

// Runs what a call does: `action` returns its error, null for none.
template <typename Action>
norvik_error *guarded(Action action) noexcept try {
    const listening ear;
    return action();
} catch (const std::bad_alloc &) {
    return out_of_memory();
} catch (const std::length_error &) {  // of what no memory could hold
    return out_of_memory();
}

}  // namespace norvik::face

#endif
