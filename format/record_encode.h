// Records as they are written: lower-case hexadecimal numbers, single blanks between the fields.
// `write` is called with the pieces of the record, std::string_views, in order.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "container_limits.h"
#include "record_kind.h"

namespace format {

// A number as it is written, without a blank.
class number_text {
public:
    explicit number_text(std::uint64_t value)
        : used_(static_cast<std::size_t>(
              std::to_chars(bytes_, bytes_ + sizeof bytes_, value, 16).ptr - bytes_)) {}
    std::string_view view() const { return {bytes_, used_}; }

private:
    char bytes_[2 * sizeof(std::uint64_t)];
    std::size_t used_;
};

// A record of a kind that has numbers alone.
template <class Write>
void encode_numbers(char kind, std::initializer_list<std::uint64_t> numbers, Write &&write) {
    constexpr std::size_t most_numbers = 3;
    char line[2 + most_numbers * (1 + 2 * sizeof(std::uint64_t)) + 1] = {record_mark, kind};
    char *at = line + 2;
    for (const std::uint64_t number : numbers) {
        *at++ = ' ';
        at = std::to_chars(at, line + sizeof line, number, 16).ptr;
    }
    *at++ = '\n';
    write(std::string_view(line, static_cast<std::size_t>(at - line)));
}

// The record that comes first: the format's number and the highest branch.
template <class Write>
void encode_status(std::uint64_t format_number, std::uint64_t highest_branch, Write &&write) {
    encode_numbers(kind_status, {format_number, highest_branch}, write);
}

// An insertion or a deletion of `count` lines.
template <class Write>
void encode_run(char kind, std::uint64_t branch, std::uint64_t version, std::uint64_t count,
                Write &&write) {
    encode_numbers(kind, {branch, version, count}, write);
}

// A version (branch, version, time of creation) or a branch (branch, parent's branch and version).
template <class Write>
void encode_object(char kind, std::string_view oid, std::uint64_t first, std::uint64_t second,
                   std::uint64_t third, Write &&write) {
    const char prefix[record_prefix] = {record_mark, kind, ' '};
    write(std::string_view(prefix, sizeof prefix));
    write(oid);
    encode_numbers(kind, {first, second, third}, [&](std::string_view line) {
        line.remove_prefix(2);
        write(line);
    });
}

// The record of the element, which is an oid alone.
template <class Write>
void encode_element(std::string_view oid, Write &&write) {
    const char prefix[record_prefix] = {record_mark, kind_element, ' '};
    write(std::string_view(prefix, sizeof prefix));
    write(oid);
    write(std::string_view("\n"));
}

}  // namespace format
