// The one place where what failed below becomes words on standard error.
#ifndef NORVIK_FAILURE_WORDS_H
#define NORVIK_FAILURE_WORDS_H

#include "failure.h"

namespace norvik {

// Prints "tdm: NAME:LINE: reason: cause", as far as there is a name, a line (from 1) and a cause,
// then what follows of it as a sentence of its own on the same file; returns status_trouble. When
// memory has run out, that is noted for the end of the run.
int tell(const failure &why);

// What a result says for the exit status: status_done, or status_trouble after the words.
template <typename T>
[[nodiscard]] int told(const result<T> &done) {
    return done ? 0 : tell(done.failure());
}

}  // namespace norvik

#endif
