// Bytes are multiplied by kept powers of the base and added up before one reduction: sixteen in
// whole products, or 64 with powers in four digits of 16 bits, as sums of products of small
// numbers, which compilers make fast. What stands above a version's own fields is the same for all
// versions of a branch and kept.
#include "version_sum.h"

#include <array>

#include "record_text.h"

namespace norvik {
namespace {

constexpr std::uint64_t text_base = 0x149ddc2f08683ba1;
constexpr std::uint64_t field_base = 0x1f189dbade79a620;
constexpr std::size_t step = 16;

// base^15, ..., base, 1.
template <std::uint64_t base>
constexpr auto falling_powers = [] {
    std::array<std::uint64_t, step> powers{};
    for (std::size_t i = 0; i < step; i++) {
        powers[i] = power(base, step - 1 - i);
    }
    return powers;
}();

// base^63, ..., base, 1, each as digits to the base 2^16, the lowest first, -2^15 to 2^15 - 1.
constexpr std::size_t block = 64;
using power_digits = std::array<std::array<std::int16_t, block>, 4>;
template <std::uint64_t base>
constexpr power_digits block_powers = [] {
    power_digits digits{};
    for (std::size_t i = 0; i < block; i++) {
        auto rest = static_cast<std::int64_t>(power(base, block - 1 - i));
        for (auto &row : digits) {
            const std::int64_t low = ((rest + 0x8000) & 0xffff) - 0x8000;
            row[i] = static_cast<std::int16_t>(low);
            rest = (rest - low) / 0x10000;
        }
    }
    return digits;
}();

// text_base to the powers of 1, 2, 4, 8, ...
constexpr auto text_squares = [] {
    std::array<std::uint64_t, 64> squares{text_base};
    for (std::size_t i = 1; i < squares.size(); i++) {
        squares[i] = multiply_add(squares[i - 1], squares[i - 1], 0);
    }
    return squares;
}();

// Adds `count` bytes, `step` at most.
template <std::uint64_t base, std::size_t count>
std::uint64_t add_step(std::uint64_t value, const unsigned char *at) {
    __extension__ using wide = unsigned __int128;
    constexpr std::uint64_t factor = power(base, count);
    wide sum = static_cast<wide>(value) * factor;
    for (std::size_t i = 0; i < count; i++) {
        sum += static_cast<wide>(falling_powers<base>[step - count + i]) * at[i];
    }
    value = (static_cast<std::uint64_t>(sum) & sum_modulus) + static_cast<std::uint64_t>(sum >> 61);
    return value >= sum_modulus ? value - sum_modulus : value;
}

// Adds `block` bytes. No sum of products comes to 2^30, the sum of all digits not to 2^76.
template <std::uint64_t base>
std::uint64_t add_block(std::uint64_t value, const unsigned char *at) {
    __extension__ using wide = unsigned __int128;
    __extension__ using signed_wide = __int128;
    constexpr std::uint64_t factor = power(base, block);
    constexpr signed_wide above = static_cast<signed_wide>(sum_modulus) << 16;
    std::array<std::int16_t, block> bytes;
    for (std::size_t i = 0; i < block; i++) {
        bytes[i] = at[i];
    }
    signed_wide sum = above;
    for (std::size_t digit = 0; digit < 4; digit++) {
        std::int32_t products = 0;
        for (std::size_t i = 0; i < block; i++) {
            products += bytes[i] * block_powers<base>[digit][i];
        }
        sum += static_cast<signed_wide>(products) * (std::int64_t{1} << 16 * digit);
    }
    const wide all = static_cast<wide>(value) * factor + static_cast<wide>(sum);
    value = (static_cast<std::uint64_t>(all) & sum_modulus) + static_cast<std::uint64_t>(all >> 61);
    return multiply_add(value & sum_modulus, 1, value >> 61);
}

template <std::uint64_t base>
std::uint64_t add_bytes(std::uint64_t value, std::string_view bytes) {
    const auto *at = reinterpret_cast<const unsigned char *>(bytes.data());
    std::size_t left = bytes.size();
    for (; left >= block; left -= block, at += block) {
        value = add_block<base>(value, at);
    }
    for (; left >= step; left -= step, at += step) {
        value = add_step<base, step>(value, at);
    }
    if ((left & step / 2) != 0) {
        value = add_step<base, step / 2>(value, at);
        at += step / 2;
    }
    if ((left & step / 4) != 0) {
        value = add_step<base, step / 4>(value, at);
        at += step / 4;
    }
    for (left %= step / 4; left != 0; left--, at++) {
        value = multiply_add(value, base, *at);
    }
    return value;
}

std::uint64_t add_fields(std::uint64_t value, std::string_view bytes) {
    return add_bytes<field_base>(value, bytes);
}

// A record as it is written, without notes and newline.
std::string fields_of(const version_record &version) {
    std::string line = version_line(version.oid, version.id, version.time);
    line.pop_back();
    return line;
}

std::string fields_of(const branch_record &branch) {
    std::string line = branch_line(branch.oid, branch.number, branch.parent);
    line.pop_back();
    return line;
}

std::uint64_t value_of_element(std::string_view element) {
    return add_fields(add_fields(0, element), "\n");
}

// Above a version: the element's identifier and the branch's fields, a line each.
std::uint64_t value_above(std::string_view element, const branch_record &branch) {
    const std::string fields = fields_of(branch).substr(format::record_prefix) + "\n";
    return add_fields(value_of_element(element), fields);
}

std::uint64_t sum_of(std::uint64_t above, std::string_view fields, std::string_view notes,
                     std::uint64_t text_value) {
    return multiply_add(add_fields(add_fields(above, fields), notes), 1, text_value);
}

result<std::string> line_with(std::string record, std::string_view notes, std::uint64_t above,
                              std::uint64_t text_value) {
    const std::string sum = sum_word(sum_of(above, record, notes, text_value));
    const std::size_t room = longest_noted_record - record.size() - 1 - sum.size();
    if (notes.size() > room) {
        return refusal({}, "the notes have " + std::to_string(notes.size()) +
                               " bytes as they are stored; there is room for " +
                               std::to_string(room));
    }
    record += " " + sum;
    record += notes;
    record += "\n";
    return record;
}

}  // namespace

std::uint64_t add_text(std::uint64_t value, std::string_view bytes) {
    return add_bytes<text_base>(value, bytes);
}

std::uint64_t text_factor(std::uint64_t bytes) {
    std::uint64_t factor = 1;
    for (std::size_t i = 0; bytes != 0; bytes >>= 1, i++) {
        factor = (bytes & 1) != 0 ? multiply_add(factor, text_squares[i], 0) : factor;
    }
    return factor;
}

std::optional<std::uint64_t> record_sums::of(const version_record &version,
                                             std::uint64_t text_value) {
    if (branch_ != version.id.branch) {
        const branch_record *branch = find_branch(view_, version.id.branch);
        if (branch == nullptr || view_.element_oid.empty()) {
            return std::nullopt;
        }
        fields_above_ = value_above(view_.element_oid, *branch);
        branch_ = version.id.branch;
    }
    return sum_of(fields_above_, fields_of(version), behind_sum(version.notes), text_value);
}

std::optional<std::uint64_t> record_sums::of(const branch_record &branch) const {
    if (view_.element_oid.empty()) {
        return std::nullopt;
    }
    return sum_of(value_of_element(view_.element_oid), fields_of(branch), behind_sum(branch.notes),
                  0);
}

result<> require_sum(const container_view &view, const version_record &version,
                     std::uint64_t text_value) {
    const auto sum = version.sum ? record_sums(view).of(version, text_value) : std::nullopt;
    return !sum || *sum == *version.sum
               ? result<>()
               : damaged(view, {version.line, version_name(view, version.id) +
                                                  " does not agree with its digest"});
}

result<std::string> noted_line(std::string_view element, const branch_record &branch,
                               const version_record &version, std::uint64_t text_value,
                               const version_notes &notes) {
    return line_with(fields_of(version), encode_notes(notes), value_above(element, branch),
                     text_value);
}

result<std::string> noted_line(std::string_view element, const branch_record &branch,
                               const version_notes &notes) {
    return line_with(fields_of(branch), encode_notes(notes), value_of_element(element), 0);
}

}  // namespace norvik
