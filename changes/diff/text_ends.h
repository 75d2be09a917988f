// What two texts have in common at their beginning and at their end.
#ifndef NORVIK_TEXT_ENDS_H
#define NORVIK_TEXT_ENDS_H

#include <cstddef>
#include <string_view>

namespace norvik {

// The length of the common beginning, in bytes. Compares large blocks of memory.
[[nodiscard]] std::size_t common_beginning(std::string_view a, std::string_view b);

// The length of the common end, in bytes.
[[nodiscard]] std::size_t common_ending(std::string_view a, std::string_view b);

}  // namespace norvik

#endif
