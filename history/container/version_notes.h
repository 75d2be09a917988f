// What stands behind the fields of a version's or a branch's record: `key=value` words, one blank
// before each.
//
//   ^V 7be1 0 3 6553f105 sum=0c3a55d2e1f09b77 by=Ann%20Lee msg=Fix%20it%0a tag=v1
//
// `sum` is the first word, 16 lower-case hexadecimal digits below 2^61 - 1; without it no other
// stands. A key is a lower-case letter and then letters, digits, dots and hyphens; only `tag` and
// `merged` may come several times. In a value, bytes up to 0x20, 0x7f, `%` and bytes that are no
// part of valid UTF-8 are written `%hh`, and no others, so that every value has one spelling.
#ifndef NORVIK_VERSION_NOTES_H
#define NORVIK_VERSION_NOTES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "container_limits.h"
#include "record_kind.h"

namespace norvik {

// The bytes that a record with notes may have before its newline: it can be commented out then and
// still be read.
inline constexpr std::size_t longest_noted_record =
    format::longest_line - format::comment_prefix.size();

// The largest value of a sum, and one more.
inline constexpr std::uint64_t sum_modulus = (std::uint64_t{1} << 61) - 1;

struct version_note {
    std::string key;
    std::string value;  // any bytes
};

// The notes of one record, its sum left out, decoded.
struct version_notes {
    std::vector<version_note> words;  // in the order of the record

    // The first value of a key; null for none.
    [[nodiscard]] const std::string *find(std::string_view key) const &;
    const std::string *find(std::string_view key) && = delete;
};

// Whether `words`, without the blank before the first, are notes in the one form in which they are
// written; `sum` then has the first one's value. O(bytes x log words).
[[nodiscard]] bool take_notes(std::string_view words, std::uint64_t *sum);

// Whether a note may have this key: `sum` may not be given.
[[nodiscard]] bool is_note_key(std::string_view key);

// The notes that a record which could be read has; none for an empty text.
[[nodiscard]] version_notes decode_notes(std::string_view words);

// The words of a record behind its `sum`, each with the blank before it: by, msg, tag, merged, src,
// mode, then the others in the order in which they are given. Keys must be is_note_key's.
[[nodiscard]] std::string encode_notes(const version_notes &notes);

// The word for a sum, as it stands first.
[[nodiscard]] std::string sum_word(std::uint64_t sum);

// Notes without their first word: empty, or begins with a blank.
[[nodiscard]] std::string_view behind_sum(std::string_view words);

}  // namespace norvik

#endif
