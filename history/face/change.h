// What calls that change a container share: their options and what has come of them.
#ifndef NORVIK_FACE_CHANGE_H
#define NORVIK_FACE_CHANGE_H

#include <norviktdm/history.h>

#include <memory>
#include <string>
#include <vector>

#include "container_view.h"
#include "error.h"
#include "merge.h"
#include "replace_options.h"

struct norvik_outcome {
    int answer = norvik_answer_done;
    std::string version;
    std::string oid;
    std::unique_ptr<norvik_merge> merge;
    std::vector<std::string> since;
};

namespace norvik::face {

// Null, or the error of options that mean nothing.
norvik_error *take_change(const norvik_change_options *given, replace_options *out);

// The present, where no time is given.
std::uint64_t time_or_now(std::uint64_t time);

// Hands the outcome out, where it is wanted.
norvik_error *give(std::unique_ptr<norvik_outcome> outcome, norvik_outcome **out);

// Runs a call whose outcome need not be wanted.
template <typename Action>
norvik_error *changing(norvik_outcome **out, Action action) noexcept {
    if (out != nullptr) {
        *out = nullptr;
    }
    return guarded(action);
}

// The error of a step, null when there is none.
template <typename T>
norvik_error *error_of(const result<T> &done) {
    return done ? nullptr : make_error(done.failure());
}

}  // namespace norvik::face

#endif
