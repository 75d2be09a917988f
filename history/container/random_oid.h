// Object identifiers that we make: 32 random hexadecimal digits from the kernel.
#ifndef NORVIK_RANDOM_OID_H
#define NORVIK_RANDOM_OID_H

#include <cstdint>
#include <string>
#include <string_view>

namespace norvik {

// 0, or status_trouble after a message.
[[nodiscard]] int random_oid(std::string &oid);

// Whether `text` has the form that random_oid gives.
[[nodiscard]] bool is_random_oid(std::string_view text);

// 16 lower-case hexadecimal digits.
[[nodiscard]] std::string hexadecimal(uint64_t value);

}  // namespace norvik

#endif
