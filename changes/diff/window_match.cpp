// Only windows in which a line without partner could find one are matched again; a mark for each
// stretch tells them in one pass over the lines without partner. A window is closed early when it
// grows past 4096 lines with many unmatched, which bounds the search in it.
#include "window_match.h"

#include <algorithm>
#include <array>
#include <span>

#include "gap_match.h"
#include "line_numbers.h"

namespace norvik {

namespace {

// A run is beyond doubt when so many of so many lines in succession are distinct and say something.
constexpr std::int32_t certain_lines = 32;
constexpr std::size_t certain_distinct = 16;
// A window of more lines than this, with many of them unmatched, ends at the next run.
constexpr std::int32_t large_window = 4096;
constexpr std::int32_t many_unmatched = 300;

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
    bool is_diverse(std::int32_t first) const;
    void number_stretches(std::span<const line_run> inside);
    void mark_gains(const edit &window, std::span<const line_run> inside);
    void match_part(const edit &part, std::span<const line_run> inside, bool gain,
                    std::vector<line_run> *out, std::vector<line_run> *dropped);
    void match_between(const edit &window, std::span<const line_run> inside,
                       std::vector<line_run> *out);

    const text_lines &base_;
    const text_lines &file_;
    gap_matcher matcher_;
    line_numbers table_;
    std::vector<std::int32_t> stretches_;  // of the places before each run and behind the last
    std::vector<bool> gains_;              // by stretch
};

// What lies before inside[i], or behind the last run.
edit gap_before(const edit &window, std::span<const line_run> inside, std::size_t i) {
    edit gap = window;
    if (i > 0) {
        gap.base_first = inside[i - 1].base_first + inside[i - 1].count;
        gap.file_first = inside[i - 1].file_first + inside[i - 1].count;
    }
    if (i < inside.size()) {
        gap.base_end = inside[i].base_first;
        gap.file_end = inside[i].file_first;
    }
    return gap;
}

bool window_matcher::says_something(const line_run &run) const {
    for (std::int32_t i = 0; i < run.count; i++) {
        if (is_significant(base_.line(run.base_first + i))) {
            return true;
        }
    }
    return false;
}

bool window_matcher::is_diverse(std::int32_t first) const {
    std::array<std::string_view, certain_distinct> seen;
    std::size_t count = 0;
    for (std::int32_t i = 0; i < certain_lines && count < seen.size(); i++) {
        const std::string_view line = base_.line(first + i);
        const auto end = seen.begin() + static_cast<std::ptrdiff_t>(count);
        if (is_significant(line) && std::find(seen.begin(), end, line) == end) {
            seen[count++] = line;
        }
    }
    return count == seen.size();
}

bool window_matcher::is_certain(const line_run &run) const {
    const std::int32_t spare = run.count - certain_lines;
    // Beyond the ends of both texts nothing is left to pair better with.
    if ((run.base_first == 0 && run.file_first == 0) ||
        (run.base_first + run.count == base_.count() &&
         run.file_first + run.count == file_.count())) {
        return true;
    }
    return spare >= 0 && (is_diverse(run.base_first) || is_diverse(run.base_first + spare / 2) ||
                          is_diverse(run.base_first + spare));
}

// Stretches with so many distinct lines in their runs that no pair goes past a whole one of them:
// for each place between runs, the stretch that it lies in.
void window_matcher::number_stretches(std::span<const line_run> inside) {
    stretches_.assign(1, 0);
    // A line that has a letter or a digit in its middle counts, but with others of its length once.
    std::uint64_t seen = 0;
    std::size_t distinct = 0;
    for (const line_run &run : inside) {
        bool full = false;
        for (std::int32_t i = 0; i < run.count && !full; i++) {
            const std::string_view line = base_.line(run.base_first + i);
            const char middle = line[line.size() / 2];
            if (is_significant(middle)) {
                const std::size_t kind = (line.size() * 5 + static_cast<std::size_t>(middle)) % 64;
                distinct += (seen >> kind & 1) == 0 ? 1 : 0;
                seen |= std::uint64_t{1} << kind;
                full = distinct >= certain_distinct;
            }
        }
        stretches_.push_back(stretches_.back() + (full ? 1 : 0));
        seen = full ? 0 : seen;
        distinct = full ? 0 : distinct;
    }
}

// More pairs need a line that has no partner on either side, in the same stretch or the next: marks
// the stretches that have one and those beside them.
void window_matcher::mark_gains(const edit &window, std::span<const line_run> inside) {
    struct last_met {
        std::int32_t base = -2;
        std::int32_t file = -2;
    };
    std::vector<last_met> met;  // stretches, by number of table_
    table_.reset(inside.size());
    gains_.assign(static_cast<std::size_t>(stretches_.back()) + 1, false);
    const auto meet = [&](std::string_view line, std::int32_t stretch, std::int32_t last_met::*own,
                          std::int32_t last_met::*other) {
        const auto number = static_cast<std::size_t>(table_.number(line));
        if (number == met.size()) {
            met.emplace_back();
        }
        met[number].*own = stretch;
        if (met[number].*other >= stretch - 1) {
            const std::int32_t end = std::min(stretch + 2, stretches_.back() + 1);
            for (std::int32_t i = std::max(met[number].*other - 1, 0); i < end; i++) {
                gains_[static_cast<std::size_t>(i)] = true;
            }
        }
    };
    for (std::size_t i = 0; i <= inside.size(); i++) {
        const edit gap = gap_before(window, inside, i);
        for (std::int32_t line = gap.base_first; line < gap.base_end; line++) {
            meet(base_.line(line), stretches_[i], &last_met::base, &last_met::file);
        }
        for (std::int32_t line = gap.file_first; line < gap.file_end; line++) {
            meet(file_.line(line), stretches_[i], &last_met::file, &last_met::base);
        }
    }
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

// The runs of which not all pairs are among the new ones.
void add_lost(std::span<const line_run> inside, std::span<const line_run> found,
              std::vector<line_run> *dropped) {
    auto next = found.begin();
    for (const line_run &run : inside) {
        while (next != found.end() && next->base_first + next->count <= run.base_first) {
            ++next;
        }
        if (next == found.end() || next->base_first > run.base_first ||
            next->base_first + next->count < run.base_first + run.count ||
            next->file_first - next->base_first != run.file_first - run.base_first) {
            dropped->push_back(run);
        }
    }
}

void window_matcher::match(const edit &window, std::span<const line_run> inside,
                           std::vector<line_run> *out, std::vector<line_run> *dropped) {
    if (inside.empty()) {
        matcher_.match(window, out);
        return;
    }
    number_stretches(inside);
    mark_gains(window, inside);
    const auto gains = [this](std::size_t i) {
        return gains_[static_cast<std::size_t>(stretches_[i])];
    };
    std::size_t first = 0;  // gap before this run
    for (std::size_t i = 0; i <= inside.size(); i++) {
        if (i < inside.size() && gains(i + 1) == gains(first)) {
            continue;
        }
        edit part = gap_before(window, inside, i);
        part.base_first = gap_before(window, inside, first).base_first;
        part.file_first = gap_before(window, inside, first).file_first;
        match_part(part, inside.subspan(first, i - first), gains(first), out, dropped);
        if (i < inside.size()) {
            out->push_back(inside[i]);
        }
        first = i + 1;
    }
}

void window_matcher::match_part(const edit &part, std::span<const line_run> inside, bool gain,
                                std::vector<line_run> *out, std::vector<line_run> *dropped) {
    const std::size_t before = out->size();
    if (gain && matcher_.match_fully(part, out)) {
        add_lost(inside, std::span(*out).subspan(before), dropped);
    } else {
        match_between(part, inside, out);
    }
}

}  // namespace

void match_windows(const text_lines &base, const text_lines &file, line_equality equality,
                   std::vector<line_run> *runs, std::vector<line_run> *dropped) {
    window_matcher matcher(base, file, equality);
    std::vector<line_run> all;
    all.reserve(runs->size() + 1);
    edit window;
    std::size_t first = 0;  // run of the window
    std::int32_t matched = 0;
    const auto close = [&](std::size_t end_run, std::int32_t base_end, std::int32_t file_end) {
        window.base_end = base_end;
        window.file_end = file_end;
        matcher.match(window, std::span(*runs).subspan(first, end_run - first), &all, dropped);
    };
    for (std::size_t i = 0; i < runs->size(); i++) {
        const line_run run = (*runs)[i];
        const std::int64_t lines =
            std::int64_t{run.base_first - window.base_first} + (run.file_first - window.file_first);
        const bool full =
            lines > large_window && lines - 2 * std::int64_t{matched} > many_unmatched;
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

}  // namespace norvik
