// The one place where what failed below becomes words on standard error.
#ifndef NORVIK_FAILURE_WORDS_H
#define NORVIK_FAILURE_WORDS_H

#include "exit_status.h"
#include "failure.h"

namespace norvik {

// Prints "tdm: NAME:LINE: reason: cause", as far as there is a name, a line (from 1) and a cause,
// then what follows of it as a sentence of its own on the same file; returns status_trouble. When
// memory has run out, that is noted for the end of the run.
exit_status tell(const failure &why);

// The result of a function that gives an exit status after its words.
inline result<> said(exit_status status) {
    return status == 0 ? result<>() : told_failure();
}

// The same of a function.
template <typename Function>
auto saying(Function function) {
    return [function](auto... arguments) -> result<> { return said(function(arguments...)); };
}

// What a result says for the exit status: status_done, or status_trouble after the words.
template <typename T>
[[nodiscard]] exit_status told(const result<T> &done) {
    return done ? status_done : tell(done.failure());
}

// The same, with the value into `out`.
template <typename T>
[[nodiscard]] exit_status told(result<T> done, T *out) {
    if (!done) {
        return tell(done.failure());
    }
    *out = std::move(*done);
    return status_done;
}

}  // namespace norvik

#endif
