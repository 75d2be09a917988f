// The heaviest rising runs are found as the longest increasing subsequence is, weighed by lines,
// with the best sums in a Fenwick tree (P. M. Fenwick, "A New Data Structure for Cumulative
// Frequency Tables", Software: Practice and Experience 1994): O(runs x log runs), 40 bytes a run.
// Runs that are equal byte for byte are compared in one piece.
#include "edit_list.h"

#include <algorithm>

#include "edit_slide.h"
#include "moved_text.h"
#include "window_match.h"

namespace norvik {

namespace {

struct pair_texts {
    const text_lines &base;
    const text_lines &file;
    const edit_list_options &options;
};

// Appends a run, or what of it holds: lines that differ cut it into pieces.
void add_checked(const pair_texts &texts, line_run run, std::vector<line_run> *runs) {
    run.count = std::min(
        {run.count, texts.base.count() - run.base_first, texts.file.count() - run.file_first});
    if (run.count <= 0) {
        return;
    }
    if (texts.base.range(run.base_first, run.base_first + run.count) ==
        texts.file.range(run.file_first, run.file_first + run.count)) {
        runs->push_back(run);
        return;
    }
    line_run piece{run.base_first, run.file_first, 0};
    for (std::int32_t i = 0; i < run.count; i++) {
        if (same_line(texts.base.line(run.base_first + i), texts.file.line(run.file_first + i),
                      texts.options.equality)) {
            piece.count++;
            continue;
        }
        if (piece.count > 0) {
            runs->push_back(piece);
        }
        piece = {run.base_first + i + 1, run.file_first + i + 1, 0};
    }
    if (piece.count > 0) {
        runs->push_back(piece);
    }
}

// The common tail may begin within a line where lines are very long; only whole lines count.
line_run tail_run(const text_lines &base, const text_lines &file, const common_ends &ends) {
    const auto first_line = [](const text_lines &text, std::uint64_t tail_bytes) {
        const std::size_t offset =
            text.bytes.size() - std::min<std::size_t>(tail_bytes, text.bytes.size());
        return std::lower_bound(text.starts.begin(), text.starts.end(), offset) -
               text.starts.begin();
    };
    const auto base_lines = base.count() - first_line(base, ends.base_tail_bytes);
    const auto file_lines = file.count() - first_line(file, ends.file_tail_bytes);
    const auto count = static_cast<std::int32_t>(std::min(base_lines, file_lines));
    return {base.count() - count, file.count() - count, count};
}

// Runs that continue each other become one; the list is in order of the file's lines.
void join_runs(std::vector<line_run> *runs) {
    std::size_t kept = 0;
    for (const line_run &run : *runs) {
        line_run *last = kept == 0 ? nullptr : &(*runs)[kept - 1];
        if (last != nullptr && last->base_first + last->count == run.base_first &&
            last->file_first + last->count == run.file_first) {
            last->count += run.count;
        } else {
            (*runs)[kept++] = run;
        }
    }
    runs->resize(kept);
}

paired_lines check_pairs(const pair_texts &texts, const paired_lines &found,
                         const common_ends &ends) {
    paired_lines pairs;
    add_checked(texts, {0, 0, static_cast<std::int32_t>(ends.head_lines)}, &pairs.in_place);
    for (const line_run &run : found.in_place) {
        add_checked(texts, run, &pairs.in_place);
    }
    for (const line_run &run : found.crossing) {
        add_checked(texts, run, &pairs.crossing);
    }
    // The tail is told in bytes and may reach up into lines that a run has already.
    line_run tail = tail_run(texts.base, texts.file, ends);
    if (!pairs.in_place.empty()) {
        const line_run &last = pairs.in_place.back();
        const std::int32_t overlap = std::max({0, last.base_first + last.count - tail.base_first,
                                               last.file_first + last.count - tail.file_first});
        tail = {tail.base_first + overlap, tail.file_first + overlap, tail.count - overlap};
    }
    add_checked(texts, tail, &pairs.in_place);
    join_runs(&pairs.in_place);
    join_runs(&pairs.crossing);
    return pairs;
}

// The heaviest set of runs that rises in both texts, by lines: a Fenwick tree of the best sum that
// ends at or before a place in the base. The runs come in order of the file's lines.
std::vector<bool> heaviest_rising(const std::vector<line_run> &runs) {
    const std::size_t n = runs.size();
    std::vector<std::size_t> by_base(n);
    for (std::size_t i = 0; i < n; i++) {
        by_base[i] = i;
    }
    std::sort(by_base.begin(), by_base.end(), [&](std::size_t a, std::size_t b) {
        return runs[a].base_first < runs[b].base_first;
    });
    std::vector<std::size_t> rank(n);
    for (std::size_t i = 0; i < n; i++) {
        rank[by_base[i]] = i + 1;
    }
    constexpr std::size_t none = ~std::size_t{0};
    struct best {
        std::int64_t lines = 0;
        std::size_t run = none;
    };
    std::vector<best> tree(n + 1);
    std::vector<std::size_t> before(n);
    best overall;
    for (std::size_t i = 0; i < n; i++) {
        best here;
        for (std::size_t at = rank[i]; at > 0; at &= at - 1) {
            if (tree[at].lines > here.lines) {
                here = tree[at];
            }
        }
        before[i] = here.run;
        here = {here.lines + runs[i].count, i};
        for (std::size_t at = rank[i]; at <= n; at += at & (~at + 1)) {
            if (here.lines > tree[at].lines) {
                tree[at] = here;
            }
        }
        if (here.lines > overall.lines) {
            overall = here;
        }
    }
    std::vector<bool> chosen(n, false);
    for (std::size_t i = overall.run; i != none; i = before[i]) {
        chosen[i] = true;
    }
    return chosen;
}

void choose_in_place(paired_lines *pairs) {
    if (pairs->crossing.empty()) {
        return;
    }
    std::vector<line_run> all = std::move(pairs->in_place);
    all.insert(all.end(), pairs->crossing.begin(), pairs->crossing.end());
    std::sort(all.begin(), all.end(),
              [](const line_run &a, const line_run &b) { return a.file_first < b.file_first; });
    join_runs(&all);
    const std::vector<bool> chosen = heaviest_rising(all);
    pairs->in_place.clear();
    pairs->crossing.clear();
    for (std::size_t i = 0; i < all.size(); i++) {
        (chosen[i] ? pairs->in_place : pairs->crossing).push_back(all[i]);
    }
}

std::vector<edit> edits_between(const pair_texts &texts, const std::vector<line_run> &runs) {
    std::vector<edit> edits;
    edit next;
    const auto close = [&](std::int32_t base_end, std::int32_t file_end) {
        next.base_end = base_end;
        next.file_end = file_end;
        if (next.base_end > next.base_first || next.file_end > next.file_first) {
            edits.push_back(next);
        }
    };
    for (const line_run &run : runs) {
        close(run.base_first, run.file_first);
        next.base_first = run.base_first + run.count;
        next.file_first = run.file_first + run.count;
    }
    close(texts.base.count(), texts.file.count());
    return edits;
}

}  // namespace

file_edits edits_from_pairs(const text_lines &base, const text_lines &file,
                            const paired_lines &found, const common_ends &ends,
                            const edit_list_options &options) {
    const pair_texts texts{base, file, options};
    paired_lines pairs = check_pairs(texts, found, ends);
    file_edits result;
    if (options.refine) {
        choose_in_place(&pairs);
        match_windows(base, file, options.equality, &pairs.in_place, &pairs.crossing);
        join_runs(&pairs.in_place);
    }
    result.edits = edits_between(texts, pairs.in_place);
    if (options.refine) {
        settle_edits(base, file, &result.edits);
    }
    result.moves = moved_runs(base, file, result.edits, pairs.crossing, options.equality);
    return result;
}

}  // namespace norvik
