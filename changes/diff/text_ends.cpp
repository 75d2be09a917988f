// Blocks are compared as memory; where two differ, smaller ones find the byte.
#include "text_ends.h"

#include <algorithm>
#include <cstring>

namespace norvik {

namespace {

constexpr std::size_t largest_step = 4096;
constexpr std::size_t smaller = 16;

}  // namespace

std::size_t common_beginning(std::string_view a, std::string_view b) {
    const std::size_t size = std::min(a.size(), b.size());
    std::size_t at = 0;
    for (std::size_t step = largest_step; step > 0; step /= smaller) {
        while (at + step <= size && std::memcmp(a.data() + at, b.data() + at, step) == 0) {
            at += step;
        }
    }
    return at;
}

std::size_t common_ending(std::string_view a, std::string_view b) {
    const std::size_t size = std::min(a.size(), b.size());
    const char *const a_end = a.data() + a.size();
    const char *const b_end = b.data() + b.size();
    std::size_t at = 0;
    for (std::size_t step = largest_step; step > 0; step /= smaller) {
        while (at + step <= size && std::memcmp(a_end - at - step, b_end - at - step, step) == 0) {
            at += step;
        }
    }
    return at;
}

}  // namespace norvik
