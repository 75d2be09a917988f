// What a container may hold, in numbers. Lengths are in bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace format {

// The one format number that status records carry.
inline constexpr std::uint64_t known_format = 0xdb1;

// A text line, its newline not counted, and so a line of a container; one that is stored without
// a final newline may be longer by its prefix.
inline constexpr std::size_t longest_line = 8000;

// An oid where it is written, and where it is read.
inline constexpr std::size_t longest_written_oid = 99;
inline constexpr std::size_t longest_read_oid = 111;
using oid_buffer = char[longest_read_oid + 1];

}  // namespace format
