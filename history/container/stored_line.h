// Which lines of a text a container can store, and why not.
#ifndef NORVIK_STORED_LINE_H
#define NORVIK_STORED_LINE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "failure.h"

namespace norvik {

// Whether a line, with its newline where it has one, can be stored and read back.
[[nodiscard]] bool can_be_stored(std::string_view line);

// Why such a line cannot be stored, in plain words with a way out.
[[nodiscard]] std::string why_not_stored(std::string_view line);

// The refusal of line `number` (from 1) of the text `name`.
[[nodiscard]] failure refuse_line(const std::string &name, std::uint64_t number,
                                  std::string_view line);

}  // namespace norvik

#endif
