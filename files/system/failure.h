// What went wrong, as a value: the rooms below the command have no mouth, and whoever uses them
// says what there is to say, in its own way.
#ifndef NORVIK_FAILURE_H
#define NORVIK_FAILURE_H

#include <cerrno>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>

namespace norvik {

// What kind of answer a failure asks for.
enum class failure_kind {
    refused,  // it would have lost, exposed or confused something, or makes no sense
    system,   // a call of the system failed: see cause
    damaged,  // a container is not sound
    changed,  // somebody else was faster
    told,     // the caller's own function failed, and has said why
};

// What lets the caller go on all the same, by leave of whoever asked.
enum class remedy {
    none,
    force,         // go on where an attribute is lost
    replace,       // replace what exists
    break_links,   // part the file's names
    patience,      // wait longer for a lock
    lose_changes,  // replace a text that no version has
    name_branch,   // say which branch is meant
    start_branch,  // make the branch
    name_base,     // say what a text was made from
    see_faults,    // have all that is wrong with a container listed
};

// Names and reasons hold bytes as they are; whoever shows them makes them harmless.
struct failure {
    failure_kind kind = failure_kind::refused;
    std::string file = {};       // as its user named it; empty when it is of no file
    std::uint64_t line = 0;      // from 1; 0 when it is of no line
    std::string reason = {};     // plain words, without the file and the cause
    std::error_code cause = {};  // of the kind `system`
    remedy way_out = remedy::none;
    std::string follows = {};  // a second sentence on the same file, which takes the way out and
                               // the outcome with it; may be empty
    std::string outcome = {};  // what has become of it, such as "nothing is replaced"; may be empty
};

// A failure with no system error.
inline failure refusal(std::string_view file, std::string_view reason) {
    return {.file = std::string(file), .reason = std::string(reason)};
}

// An errno value as an error.
inline std::error_code system_error(int error) {
    return {error, std::generic_category()};
}

// What errno says.
inline std::error_code last_error() {
    return system_error(errno);
}

// A failure that the caller knows of.
inline failure told_failure() {
    return {.kind = failure_kind::told};
}

// A failure of the system.
inline failure system_failure(std::string_view file, std::string_view reason,
                              std::error_code cause) {
    return {.kind = failure_kind::system,
            .file = std::string(file),
            .reason = std::string(reason),
            .cause = cause};
}

// A value, or why there is none.
template <typename T = void>
class [[nodiscard]] result {
public:
    result(T value) : outcome_(std::in_place_index<0>, std::move(value)) {}
    result(norvik::failure why) : outcome_(std::in_place_index<1>, std::move(why)) {}

    explicit operator bool() const { return outcome_.index() == 0; }
    T &operator*() { return *std::get_if<0>(&outcome_); }
    const T &operator*() const { return *std::get_if<0>(&outcome_); }
    T *operator->() { return std::get_if<0>(&outcome_); }
    const T *operator->() const { return std::get_if<0>(&outcome_); }

    // Only where there is no value.
    norvik::failure &failure() { return *std::get_if<1>(&outcome_); }
    const norvik::failure &failure() const { return *std::get_if<1>(&outcome_); }

private:
    std::variant<T, norvik::failure> outcome_;
};

// Done, or why not.
template <>
class [[nodiscard]] result<void> {
public:
    result() = default;
    result(norvik::failure why) : failure_(std::move(why)) {}

    explicit operator bool() const { return !failure_; }
    norvik::failure &failure() { return *failure_; }
    const norvik::failure &failure() const { return *failure_; }

private:
    std::optional<norvik::failure> failure_;
};

// Takes what is worth saying of something that goes on, such as a file that gets another mode.
using notice_sink = std::function<void(const failure &)>;

}  // namespace norvik

#endif
