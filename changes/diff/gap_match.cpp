// The furthest points of all steps are kept for the way back: at most 700 x 700 / 2 numbers, one
// megabyte. A gap of more than 65536 lines is not looked at. Where a search gives up, lines that
// are unique on both sides divide the gap: their longest rising sequence by piles, O(lines x log
// lines), then one search between each two.
#include "gap_match.h"

#include <algorithm>

namespace norvik {

namespace {

// Gaps of more lines than this are left as the stream has them: it has paired every line that is
// unique in both texts, and has searched near each pair.
constexpr std::int32_t largest_gap = 1 << 16;
// Edits of one search; its memory grows with the square.
constexpr std::int32_t most_steps = 700;

}  // namespace

bool gap_matcher::same(std::int32_t base_line, std::int32_t file_line) const {
    return same_line(base_.line(base_line), file_.line(file_line), equality_);
}

void gap_matcher::match(const edit &gap, std::vector<line_run> *runs) {
    (void)match_as(gap, too_far::divide, runs);
}

bool gap_matcher::match_fully(const edit &gap, std::vector<line_run> *runs) {
    return match_as(gap, too_far::leave, runs);
}

bool gap_matcher::match_as(const edit &gap, too_far otherwise, std::vector<line_run> *runs) {
    const std::size_t runs_before = runs->size();
    edit rest = gap;
    while (rest.base_first < rest.base_end && rest.file_first < rest.file_end &&
           same(rest.base_first, rest.file_first)) {
        rest.base_first++;
        rest.file_first++;
    }
    while (rest.base_first < rest.base_end && rest.file_first < rest.file_end &&
           same(rest.base_end - 1, rest.file_end - 1)) {
        rest.base_end--;
        rest.file_end--;
    }
    if (rest.base_first > gap.base_first) {
        runs->push_back({gap.base_first, gap.file_first, rest.base_first - gap.base_first});
    }
    if (!match_middle(rest, otherwise, runs)) {
        runs->resize(runs_before);
        return false;
    }
    if (rest.base_end < gap.base_end) {
        runs->push_back({rest.base_end, rest.file_end, gap.base_end - rest.base_end});
    }
    return true;
}

// What is left of a gap without the equal lines at its ends.
bool gap_matcher::match_middle(const edit &gap, too_far otherwise, std::vector<line_run> *runs) {
    const std::int32_t base_lines = gap.base_end - gap.base_first;
    const std::int32_t file_lines = gap.file_end - gap.file_first;
    if (base_lines <= 1 || file_lines <= 1) {
        match_one(gap, runs);
        return true;
    }
    // Asked without their sum, which may be too large for its type.
    if (base_lines > largest_gap - file_lines) {
        return otherwise == too_far::divide;
    }
    number_lines(gap);
    const span all{0, static_cast<std::int32_t>(x_.size()), 0,
                   static_cast<std::int32_t>(y_.size())};
    if (all.x_first == all.x_end || shortest_edit(all, runs)) {
        return true;
    }
    if (otherwise == too_far::divide) {
        divide(all, runs);
    }
    return otherwise == too_far::divide;
}

// One side has a single line: it may stand anywhere on the other, which may be empty.
void gap_matcher::match_one(const edit &gap, std::vector<line_run> *runs) const {
    for (std::int32_t b = gap.base_first; b < gap.base_end; b++) {
        for (std::int32_t f = gap.file_first; f < gap.file_end; f++) {
            if (same(b, f)) {
                runs->push_back({b, f, 1});
                return;
            }
        }
    }
}

void gap_matcher::number_lines(const edit &gap) {
    const auto all =
        static_cast<std::size_t>(gap.base_end - gap.base_first + gap.file_end - gap.file_first);
    table_.reset(all);
    numbers_.clear();
    for (std::int32_t b = gap.base_first; b < gap.base_end; b++) {
        numbers_.push_back(table_.number(base_.line(b)));
    }
    for (std::int32_t f = gap.file_first; f < gap.file_end; f++) {
        numbers_.push_back(table_.number(file_.line(f)));
    }
    keep_common(gap);
}

void gap_matcher::keep_common(const edit &gap) {
    const auto numbers = static_cast<std::size_t>(table_.count());
    const auto base_lines = static_cast<std::size_t>(gap.base_end - gap.base_first);
    count_x_.assign(numbers, 0);
    count_y_.assign(numbers, 0);
    place_y_.assign(numbers, 0);
    for (std::size_t i = 0; i < numbers_.size(); i++) {
        (i < base_lines ? count_x_ : count_y_)[static_cast<std::size_t>(numbers_[i])]++;
    }
    x_.clear();
    y_.clear();
    x_line_.clear();
    y_line_.clear();
    for (std::size_t i = 0; i < numbers_.size(); i++) {
        const auto number = static_cast<std::size_t>(numbers_[i]);
        if (count_x_[number] == 0 || count_y_[number] == 0) {
            continue;
        }
        const bool of_base = i < base_lines;
        (of_base ? x_ : y_).push_back(numbers_[i]);
        (of_base ? x_line_ : y_line_)
            .push_back(of_base ? gap.base_first + static_cast<std::int32_t>(i)
                               : gap.file_first + static_cast<std::int32_t>(i - base_lines));
    }
}

void gap_matcher::add(std::int32_t x, std::int32_t y, std::vector<line_run> *runs) const {
    const std::int32_t base_line = x_line_[static_cast<std::size_t>(x)];
    const std::int32_t file_line = y_line_[static_cast<std::size_t>(y)];
    if (!runs->empty() && runs->back().base_first + runs->back().count == base_line &&
        runs->back().file_first + runs->back().count == file_line) {
        runs->back().count++;
    } else {
        runs->push_back({base_line, file_line, 1});
    }
}

// Fills trace_ with the furthest x on each diagonal after each number of steps; false when the
// sides are more than most_steps apart.
bool gap_matcher::shortest_edit(const span &part, std::vector<line_run> *runs) {
    const std::int32_t width = part.x_end - part.x_first;
    const std::int32_t height = part.y_end - part.y_first;
    const std::int32_t most = std::min(width + height, most_steps);
    furthest_.assign(static_cast<std::size_t>(2 * most) + 3, 0);
    trace_.clear();
    const auto at = [&](std::int32_t diagonal) -> std::int32_t & {
        return furthest_[static_cast<std::size_t>(diagonal + most + 1)];
    };
    for (std::int32_t steps = 0; steps <= most; steps++) {
        for (std::int32_t d = -steps; d <= steps; d += 2) {
            const bool down = d == -steps || (d != steps && at(d - 1) < at(d + 1));
            std::int32_t x = down ? at(d + 1) : at(d - 1) + 1;
            // Past the end of either side a diagonal goes on without pairs.
            while (x < width && x - d < height && x - d >= 0 &&
                   x_[static_cast<std::size_t>(part.x_first + x)] ==
                       y_[static_cast<std::size_t>(part.y_first + x - d)]) {
                x++;
            }
            at(d) = x;
            trace_.push_back(x);
            if (x >= width && x - d >= height) {
                trace_back(part, steps, runs);
                return true;
            }
        }
    }
    return false;
}

// Step s left s + 1 entries in trace_, from diagonal -s upwards, after those of the steps before.
void gap_matcher::trace_back(const span &part, std::int32_t steps, std::vector<line_run> *runs) {
    const auto at = [&](std::int32_t step, std::int32_t diagonal) {
        const std::int64_t start = std::int64_t{step} * (step + 1) / 2;
        return trace_[static_cast<std::size_t>(start + (diagonal + step) / 2)];
    };
    std::int32_t x = part.x_end - part.x_first;
    std::int32_t y = part.y_end - part.y_first;
    std::vector<std::pair<std::int32_t, std::int32_t>> pairs;
    for (std::int32_t step = steps; step >= 0; step--) {
        const std::int32_t d = x - y;
        const bool down =
            step > 0 && (d == -step || (d != step && at(step - 1, d - 1) < at(step - 1, d + 1)));
        const std::int32_t from_d = down ? d + 1 : d - 1;
        const std::int32_t from_x = step == 0 ? 0 : at(step - 1, from_d);
        const std::int32_t start_x = step == 0 ? 0 : down ? from_x : from_x + 1;
        while (x > start_x) {
            pairs.emplace_back(--x, --y);
        }
        x = from_x;
        y = from_x - from_d;
    }
    for (auto pair = pairs.rbegin(); pair != pairs.rend(); ++pair) {
        add(part.x_first + pair->first, part.y_first + pair->second, runs);
    }
}

// Pairs the lines that are unique in both sides of the whole gap, keeps the longest rising
// sequence of the pairs, and matches what lies between.
void gap_matcher::divide(const span &part, std::vector<line_run> *runs) {
    for (std::int32_t y = part.y_first; y < part.y_end; y++) {
        place_y_[static_cast<std::size_t>(y_[static_cast<std::size_t>(y)])] = y;
    }
    struct pair {
        std::int32_t x, y, before;
    };
    std::vector<pair> pairs;
    std::vector<std::int32_t> tops;  // of each pile, the index of its last pair
    for (std::int32_t x = part.x_first; x < part.x_end; x++) {
        const auto number = static_cast<std::size_t>(x_[static_cast<std::size_t>(x)]);
        const std::int32_t y = place_y_[number];
        if (count_x_[number] != 1 || count_y_[number] != 1 || y < part.y_first || y >= part.y_end) {
            continue;
        }
        const auto pile =
            std::lower_bound(tops.begin(), tops.end(), y, [&](std::int32_t i, std::int32_t v) {
                return pairs[static_cast<std::size_t>(i)].y < v;
            });
        pairs.push_back({x, y, pile == tops.begin() ? -1 : *(pile - 1)});
        const auto index = static_cast<std::int32_t>(pairs.size()) - 1;
        if (pile == tops.end()) {
            tops.push_back(index);
        } else {
            *pile = index;
        }
    }
    std::vector<pair> anchors;
    for (std::int32_t i = tops.empty() ? -1 : tops.back(); i >= 0;
         i = pairs[static_cast<std::size_t>(i)].before) {
        anchors.push_back(pairs[static_cast<std::size_t>(i)]);
    }
    std::int32_t x = part.x_first;
    std::int32_t y = part.y_first;
    for (auto anchor = anchors.rbegin(); anchor != anchors.rend(); ++anchor) {
        shortest_edit({x, anchor->x, y, anchor->y}, runs);
        add(anchor->x, anchor->y, runs);
        x = anchor->x + 1;
        y = anchor->y + 1;
    }
    if (!anchors.empty()) {
        shortest_edit({x, part.x_end, y, part.y_end}, runs);
    }
}

}  // namespace norvik
