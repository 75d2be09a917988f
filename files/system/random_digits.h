// Names that nobody else has: 32 random hexadecimal digits from the kernel, as object identifiers
// and the names of temporary files have them.
#ifndef NORVIK_RANDOM_DIGITS_H
#define NORVIK_RANDOM_DIGITS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "failure.h"

namespace norvik {

// 32 lower-case digits.
result<std::string> random_digits();

// Whether `text` has the form that random_digits gives.
[[nodiscard]] bool is_random_digits(std::string_view text);

// 16 lower-case digits.
[[nodiscard]] std::string hexadecimal(std::uint64_t value);

}  // namespace norvik

#endif
