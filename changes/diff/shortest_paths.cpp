// Both tables hold a step count for every line of the stretch and every diagonal that a smallest
// edit can touch, at most 2^20 of 4 bytes each. They are filled row by row, forwards and backwards,
// one comparison of numbers a point.
#include "shortest_paths.h"

#include <algorithm>

namespace norvik {

namespace {

constexpr std::int64_t most_points = 1 << 20;
constexpr std::int32_t unreached = 1 << 29;

}  // namespace

bool shortest_paths::take(const text_lines &file, const edit &stretch, std::int32_t removed,
                          std::int32_t inserted) {
    const std::int32_t base_lines = stretch.base_end - stretch.base_first;
    if ((std::int64_t{base_lines} + 1) * (std::int64_t{removed} + inserted + 3) > most_points) {
        return false;
    }
    stretch_ = stretch;
    table_.reset(static_cast<std::size_t>(base_lines));
    x_.clear();
    y_.clear();
    for (std::int32_t i = stretch.base_first; i < stretch.base_end; i++) {
        x_.push_back(table_.number(base_.line(i)));
    }
    for (std::int32_t i = stretch.file_first; i < stretch.file_end; i++) {
        y_.push_back(table_.number(file.line(i)));
    }
    // A path that goes further must come back, and is longer than the edit that is known.
    lowest_ = -removed;
    highest_ = inserted;
    fill_forward();
    fill_backward();
    least_ = backward_[at(0, 0)];
    return true;
}

void shortest_paths::fill_forward() {
    forward_.assign(at(x_end() + 1, lowest_ - 1), unreached);
    forward_[at(0, 0)] = 0;
    for (std::int32_t x = 0; x <= x_end(); x++) {
        const std::int32_t last = std::min(highest_, y_end() - x);
        for (std::int32_t d = std::max(lowest_, -x); d <= last; d++) {
            std::int32_t &steps = forward_[at(x, d)];
            const bool right = x > 0;
            const bool down = d > -x;
            // Some shortest path takes every pair that it meets: no other way in is shorter.
            if (right && down && same(x - 1, x + d - 1)) {
                steps = forward_[at(x - 1, d)];
                continue;
            }
            steps = std::min({steps, right ? forward_[at(x - 1, d + 1)] + 1 : unreached,
                              down ? forward_[at(x, d - 1)] + 1 : unreached});
        }
    }
}

void shortest_paths::fill_backward() {
    backward_.assign(at(x_end() + 1, lowest_ - 1), unreached);
    backward_[at(x_end(), y_end() - x_end())] = 0;
    for (std::int32_t x = x_end(); x >= 0; x--) {
        const std::int32_t first = std::max(lowest_, -x);
        for (std::int32_t d = std::min(highest_, y_end() - x); d >= first; d--) {
            std::int32_t &steps = backward_[at(x, d)];
            const bool right = x < x_end();
            const bool down = x + d < y_end();
            if (right && down && same(x, x + d)) {
                steps = backward_[at(x + 1, d)];
                continue;
            }
            steps = std::min({steps, right ? backward_[at(x + 1, d - 1)] + 1 : unreached,
                              down ? backward_[at(x, d + 1)] + 1 : unreached});
        }
    }
}

bool shortest_paths::may_pass(const edit &part, std::int32_t steps) const {
    const std::int32_t x = part.base_first - stretch_.base_first;
    const std::int32_t to_x = part.base_end - stretch_.base_first;
    const std::int32_t d = part.file_first - stretch_.file_first - x;
    const std::int32_t to_d = part.file_end - stretch_.file_first - to_x;
    return std::min(d, to_d) >= lowest_ && std::max(d, to_d) <= highest_ &&
           forward_[at(x, d)] + steps + backward_[at(to_x, to_d)] == least_;
}

bool shortest_paths::is_certain(std::int32_t line) const {
    const std::int32_t x = line - stretch_.base_first;
    const std::int32_t last = std::min(highest_, y_end() - x);
    std::int32_t kept = 0;
    for (std::int32_t d = std::max(lowest_, -x); d <= last; d++) {
        const std::int32_t steps = forward_[at(x, d)];
        // A smallest edit that removes the line.
        if (steps + 1 + backward_[at(x + 1, d - 1)] == least_) {
            return false;
        }
        if (x + d < y_end() && same(x, x + d) && steps + backward_[at(x + 1, d)] == least_) {
            kept++;
        }
    }
    return kept == 1;
}

}  // namespace norvik
