// An error is a record of plain fields, which callers in C read, with its strings behind it. The
// one for want of memory is static: it can be given when nothing else can, and freeing it does
// nothing.
#include "error.h"

#include <cerrno>
#include <memory>

static_assert(NORVIK_HISTORY_VERSION == NORVIK_PROJECT_VERSION,
              "the headers and the project have one version");

namespace norvik::face {

namespace {

constinit norvik_error memory_error{
    norvik_kind_memory, ENOMEM, 0, "", "there is not enough memory", "there is not enough memory"};

// An error with its strings behind it.
struct owned_error : norvik_error {
    std::string file_text;
    std::string reason_text;
    std::string message_text;
};

norvik_kind kind_of(const failure &why) {
    if (why.way_out == remedy::patience) {
        return norvik_kind_busy;
    }
    switch (why.kind) {
        case failure_kind::system:
            return norvik_kind_system;
        case failure_kind::damaged:
            return norvik_kind_damaged;
        case failure_kind::changed:
            return norvik_kind_changed;
        case failure_kind::refused:
        case failure_kind::told:
            break;
    }
    return norvik_kind_refused;
}

// Words one after the other, as far as there are any.
std::string joined(std::string_view first, std::string_view between, std::string_view second) {
    std::string words(first);
    if (!first.empty() && !second.empty()) {
        words += between;
    }
    return words.append(second);
}

norvik_error *make(norvik_kind kind, const failure &why) {
    auto error = std::make_unique<owned_error>();
    error->file_text = why.file;
    error->reason_text = joined(take_library_words(), "; ", why.reason);
    if (error->reason_text.empty() && why.kind == failure_kind::told) {
        error->reason_text = "is not done";
    }
    // What came of it, behind the system's words.
    const std::string rest = joined(why.follows, "; ", why.outcome);
    std::string place = why.file;
    if (why.line != 0) {
        place += ":" + std::to_string(why.line);
    }
    const std::string cause = why.cause ? why.cause.message() : std::string();
    error->message_text =
        joined(place, ": ", joined(joined(error->reason_text, ": ", cause), "; ", rest));
    error->reason_text = joined(error->reason_text, "; ", rest);
    error->kind = kind;
    error->system = why.cause.value();
    error->line = why.line;
    error->file = error->file_text.c_str();
    error->reason = error->reason_text.c_str();
    error->message = error->message_text.c_str();
    return error.release();
}

}  // namespace

norvik_error *out_of_memory() {
    return &memory_error;
}

norvik_error *make_error(const failure &why) {
    const bool memory = why.cause.value() == ENOMEM || library_missed_memory();
    return memory ? out_of_memory() : make(kind_of(why), why);
}

norvik_error *make_error(norvik_kind kind, std::string_view file, std::string_view reason) {
    return make(kind, refusal(file, reason));
}

}  // namespace norvik::face

using norvik::face::memory_error;
using norvik::face::owned_error;

std::uint32_t norvik_history_version(void) {
    return NORVIK_HISTORY_VERSION;
}

int norvik_error_kind(const norvik_error *error) {
    return error == nullptr ? 0 : error->kind;
}

const char *norvik_error_file(const norvik_error *error) {
    return error == nullptr ? "" : error->file;
}

std::uint64_t norvik_error_line(const norvik_error *error) {
    return error == nullptr ? 0 : error->line;
}

int norvik_error_system(const norvik_error *error) {
    return error == nullptr ? 0 : error->system;
}

const char *norvik_error_reason(const norvik_error *error) {
    return error == nullptr ? "" : error->reason;
}

const char *norvik_error_message(const norvik_error *error) {
    return error == nullptr ? "" : error->message;
}

void norvik_error_free(norvik_error *error) {
    if (error != &memory_error) {
        delete static_cast<owned_error *>(error);
    }
}
