#include "window_match.h"

#include <algorithm>
#include <array>
#include <span>

#include "gap_match.h"
#include "line_numbers.h"

namespace host {

namespace {

// A run is beyond doubt when so many of so many lines in succession are distinct and say something.
constexpr int32_t certain_lines = 32;
constexpr size_t certain_distinct = 16;
// A window of more lines than this, with many of them unmatched, ends at the next run.
constexpr int32_t large_window = 4096;
constexpr int32_t many_unmatched = 300;

class window_matcher {
public:
    window_matcher(const text_lines &base, const text_lines &file, line_equality equality)
        : base_(base), file_(file), matcher_(base, file, equality), table_(equality) {}

    bool is_certain(const line_run &run) const;
    bool says_something(const line_run &run) const;
    // The pairs of a window, whose own runs are `inside`.
    void match(const edit &window, std::span<const line_run> inside, std::vector<line_run> *out,
               std::vector<line_run> *dropped);

private:
    bool is_diverse(int32_t first) const;
    bool can_gain(const edit &window, std::span<const line_run> inside);
    void match_between(const edit &window, std::span<const line_run> inside,
                       std::vector<line_run> *out);

    const text_lines &base_;
    const text_lines &file_;
    gap_matcher matcher_;
    line_numbers table_;
};

bool window_matcher::says_something(const line_run &run) const {
    for (int32_t i = 0; i < run.count; i++) {
        if (is_significant(base_.line(run.base_first + i))) {
            return true;
        }
    }
    return false;
}

bool window_matcher::is_diverse(int32_t first) const {
    std::array<std::string_view, certain_distinct> seen;
    size_t count = 0;
    for (int32_t i = 0; i < certain_lines && count < seen.size(); i++) {
        const std::string_view line = base_.line(first + i);
        const auto end = seen.begin() + static_cast<std::ptrdiff_t>(count);
        if (is_significant(line) && std::find(seen.begin(), end, line) == end) {
            seen[count++] = line;
        }
    }
    return count == seen.size();
}

bool window_matcher::is_certain(const line_run &run) const {
    const int32_t spare = run.count - certain_lines;
    if (run.base_first + run.file_first == 0 || (run.base_first + run.count == base_.count() &&
                                                 run.file_first + run.count == file_.count())) {
        return true;
    }
    return spare >= 0 && (is_diverse(run.base_first) || is_diverse(run.base_first + spare / 2) ||
                          is_diverse(run.base_first + spare));
}

// More pairs need a line that has no partner on either side of the window.
bool window_matcher::can_gain(const edit &window, std::span<const line_run> inside) {
    int32_t unmatched = window.base_end - window.base_first;
    for (const line_run &run : inside) {
        unmatched -= run.count;
    }
    table_.reset(static_cast<size_t>(unmatched));
    int32_t at = window.base_first;
    for (const line_run &run : inside) {
        for (; at < run.base_first; at++) {
            table_.number(base_.line(at));
        }
        at += run.count;
    }
    for (; at < window.base_end; at++) {
        table_.number(base_.line(at));
    }
    at = window.file_first;
    for (const line_run &run : inside) {
        for (; at < run.file_first; at++) {
            if (table_.find(file_.line(at)) >= 0) {
                return true;
            }
        }
        at += run.count;
    }
    for (; at < window.file_end; at++) {
        if (table_.find(file_.line(at)) >= 0) {
            return true;
        }
    }
    return false;
}

// Runs of blank lines and braces alone are no anchors: they are found again where they belong.
void window_matcher::match_between(const edit &window, std::span<const line_run> inside,
                                   std::vector<line_run> *out) {
    edit gap = window;
    for (const line_run &run : inside) {
        if (!says_something(run)) {
            continue;
        }
        gap.base_end = run.base_first;
        gap.file_end = run.file_first;
        matcher_.match(gap, out);
        out->push_back(run);
        gap.base_first = run.base_first + run.count;
        gap.file_first = run.file_first + run.count;
    }
    gap.base_end = window.base_end;
    gap.file_end = window.file_end;
    matcher_.match(gap, out);
}

void window_matcher::match(const edit &window, std::span<const line_run> inside,
                           std::vector<line_run> *out, std::vector<line_run> *dropped) {
    if (inside.empty()) {
        matcher_.match(window, out);
        return;
    }
    const bool gain = can_gain(window, inside);
    if (gain && matcher_.match_fully(window, out)) {
        dropped->insert(dropped->end(), inside.begin(), inside.end());
    } else if (gain || !std::all_of(inside.begin(), inside.end(),
                                    [this](const line_run &run) { return says_something(run); })) {
        match_between(window, inside, out);
    } else {
        out->insert(out->end(), inside.begin(), inside.end());
    }
}

}  // namespace

void match_windows(const text_lines &base, const text_lines &file, line_equality equality,
                   std::vector<line_run> *runs, std::vector<line_run> *dropped) {
    window_matcher matcher(base, file, equality);
    std::vector<line_run> all;
    all.reserve(runs->size() + 1);
    edit window;
    size_t first = 0;  // run of the window
    int32_t matched = 0;
    const auto close = [&](size_t end_run, int32_t base_end, int32_t file_end) {
        window.base_end = base_end;
        window.file_end = file_end;
        matcher.match(window, std::span(*runs).subspan(first, end_run - first), &all, dropped);
    };
    for (size_t i = 0; i < runs->size(); i++) {
        const line_run run = (*runs)[i];
        const int32_t lines =
            run.base_first - window.base_first + run.file_first - window.file_first;
        const bool full = lines > large_window && lines - 2 * matched > many_unmatched;
        if (!matcher.is_certain(run) && !(full && matcher.says_something(run))) {
            matched += run.count;
            continue;
        }
        close(i, run.base_first, run.file_first);
        all.push_back(run);
        window.base_first = run.base_first + run.count;
        window.file_first = run.file_first + run.count;
        first = i + 1;
        matched = 0;
    }
    close(runs->size(), base.count(), file.count());
    *runs = std::move(all);
}

}  // namespace host
