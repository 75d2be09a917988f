// A hash table with open addressing, half full at most, that keeps the hashes: 24 bytes and two
// slots or more of 4 bytes a distinct line.
#include "line_numbers.h"

#include <algorithm>
#include <bit>
#include <string>

#include "line_hash.h"
#include "text_lines.h"

namespace norvik {

void line_numbers::reset(std::size_t expected) {
    lines_.clear();
    hashes_.clear();
    slots_.assign(std::bit_ceil(std::max<std::size_t>(expected, 4) * 2), -1);
}

std::size_t line_numbers::hash_of(std::string_view line) const {
    if (equality_ == line_equality::exact) {
        return hash_line(line);
    }
    std::string text;
    std::copy_if(line.begin(), line.end(), std::back_inserter(text),
                 [](char c) { return c != ' ' && (c < '\t' || c > '\r'); });
    return hash_line(text);
}

// The slot that holds the line, or the free one where it belongs.
std::size_t line_numbers::slot_of(std::string_view line, std::size_t hash) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = hash & mask;
    while (slots_[at] >= 0) {
        const auto number = static_cast<std::size_t>(slots_[at]);
        if (hashes_[number] == hash && same_line(lines_[number], line, equality_)) {
            return at;
        }
        at = (at + 1) & mask;
    }
    return at;
}

void line_numbers::grow() {
    slots_.assign(std::max<std::size_t>(slots_.size() * 2, 8), -1);
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t number = 0; number < lines_.size(); number++) {
        std::size_t at = hashes_[number] & mask;
        while (slots_[at] >= 0) {
            at = (at + 1) & mask;
        }
        slots_[at] = static_cast<std::int32_t>(number);
    }
}

std::int32_t line_numbers::number(std::string_view line) {
    if (lines_.size() * 2 >= slots_.size()) {
        grow();
    }
    const std::size_t hash = hash_of(line);
    const std::size_t at = slot_of(line, hash);
    if (slots_[at] < 0) {
        slots_[at] = count();
        lines_.push_back(line);
        hashes_.push_back(hash);
    }
    return slots_[at];
}

std::int32_t line_numbers::find(std::string_view line) const {
    return slots_.empty() ? -1 : slots_[slot_of(line, hash_of(line))];
}

}  // namespace norvik
