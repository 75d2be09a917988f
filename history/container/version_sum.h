// The digest of a version: what its record's first note, `sum`, has to be (docs/format.md).
//
// A text's part is the value of its bytes as digits to a base, modulo 2^61 - 1, the first byte the
// highest digit; the fields' part is that of the bytes of the records to another base. One byte
// that becomes another one always changes the sum. It tells of accidents and is no protection
// against somebody who looks for another text with the same sum.
#ifndef NORVIK_VERSION_SUM_H
#define NORVIK_VERSION_SUM_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "container_view.h"
#include "version_notes.h"

namespace norvik {

// a * b + c modulo 2^61 - 1, for arguments below that.
[[nodiscard]] constexpr std::uint64_t multiply_add(std::uint64_t a, std::uint64_t b,
                                                   std::uint64_t c) {
    __extension__ using wide = unsigned __int128;
    const wide product = static_cast<wide>(a) * b + c;
    const std::uint64_t folded = (static_cast<std::uint64_t>(product) & sum_modulus) +
                                 static_cast<std::uint64_t>(product >> 61);
    return folded >= sum_modulus ? folded - sum_modulus : folded;
}

// a to the power of n, modulo 2^61 - 1.
[[nodiscard]] constexpr std::uint64_t power(std::uint64_t a, std::uint64_t n) {
    std::uint64_t result = 1;
    for (; n != 0; n >>= 1) {
        result = (n & 1) != 0 ? multiply_add(result, a, 0) : result;
        a = multiply_add(a, a, 0);
    }
    return result;
}

// The value of a text and the bytes behind it, from the text's value, 0 for none.
[[nodiscard]] std::uint64_t add_text(std::uint64_t value, std::string_view bytes);

// By what a text's value is multiplied when so many bytes follow.
[[nodiscard]] std::uint64_t text_factor(std::uint64_t bytes);

// The sums of a container's records.
class record_sums {
public:
    // The view must outlive the object.
    explicit record_sums(const container_view &view) : view_(view) {}

    // The sum that the version's record must have when its text has this value; nothing when a
    // record that it is made of cannot be read.
    [[nodiscard]] std::optional<std::uint64_t> of(const version_record &version,
                                                  std::uint64_t text_value);
    // The same of a branch's record.
    [[nodiscard]] std::optional<std::uint64_t> of(const branch_record &branch) const;

private:
    const container_view &view_;
    std::optional<std::uint64_t> branch_;  // whose fields were asked for last
    std::uint64_t fields_above_ = 0;       // the value of what stands above its versions' fields
};

// Fails, on the container, when the version has a digest and does not agree with it, its text
// having this value.
result<> require_sum(const container_view &view, const version_record &version,
                     std::uint64_t text_value);

// The record of a version with its notes and the sum of them and of a text, a line as it is
// written; `version` needs no notes of its own. Fails, with its size and the room for notes, when
// the record would be longer than longest_noted_record.
result<std::string> noted_line(std::string_view element, const branch_record &branch,
                               const version_record &version, std::uint64_t text_value,
                               const version_notes &notes);
// The same of a branch.
result<std::string> noted_line(std::string_view element, const branch_record &branch,
                               const version_notes &notes);

}  // namespace norvik

#endif
