// Texts, lines and lists as they cross the C interface.
#ifndef NORVIK_FACE_TEXTS_H
#define NORVIK_FACE_TEXTS_H

#include <norviktdm/common.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "error.h"
#include "lined_text.h"

namespace norvik::face {

inline std::string_view view_of(norvik_text text) {
    return text.size == 0 ? std::string_view() : std::string_view(text.bytes, text.size);
}
inline norvik_text as_text(std::string_view text) {
    return {text.data(), text.size()};
}
// A string of the caller's, null as empty.
inline std::string_view view_of(const char *string) {
    return string == nullptr ? std::string_view() : std::string_view(string);
}

// Line numbers inside count from 0, outside from 1.
inline std::uint32_t line_number(std::int32_t line) {
    return static_cast<std::uint32_t>(line) + 1;
}
// Lines first .. end - 1.
inline norvik_lines lines_of(std::int32_t first, std::int32_t end) {
    return {line_number(first), static_cast<std::uint32_t>(end - first)};
}

// The element of that index, null when there is none.
template <typename Element>
const Element *at(const std::vector<Element> &all, std::size_t index) {
    return index < all.size() ? &all[index] : nullptr;
}

// Refuses a null text and one that is no text, or not `stored` one, with its line. `name` is what
// the error calls it.
norvik_error *refuse_no_text(norvik_text text, std::string_view name, bool stored = false);

// The text as a file that the library reads, its lines found. Null, or the error.
norvik_error *hold(norvik_text text, std::string_view name, lined_text *out);

// Lets go of what only the library needed; the texts stay. What is left can go on any thread.
void close_files(std::vector<lined_text> *files);

// Takes what the caller has filled of a structure that begins with its size; null: nothing. Refuses
// one that says more than is known here.
template <typename Options>
norvik_error *take(const Options *given, Options *out) {
    if (given == nullptr) {
        return nullptr;
    }
    const std::size_t known = std::min(given->size, sizeof *out);
    const auto *const bytes = reinterpret_cast<const char *>(given);
    if (given->size < sizeof given->size ||
        std::any_of(bytes + known, bytes + given->size, [](char byte) { return byte != 0; })) {
        return refuse("options of a size that is not known");
    }
    std::memcpy(out, bytes, known);
    return nullptr;
}

// Runs a call that gives something out, which is null until it has it.
template <typename Given, typename Action>
norvik_error *giving(Given **out, Action action) noexcept {
    if (out == nullptr) {
        return guarded([] { return refuse("there is no place for the result"); });
    }
    *out = nullptr;
    return guarded(action);
}

}  // namespace norvik::face

#endif
