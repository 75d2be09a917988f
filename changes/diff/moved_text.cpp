// A line is taken once, by the first run that reaches it, so that growing a run costs the lines
// that it takes; finding an edit is a binary search. O(lines of the candidates x log edits) and the
// bytes of the edits; one bit a line of either text.
#include "moved_text.h"

#include <algorithm>
#include <unordered_map>

namespace norvik {

namespace {

constexpr std::int32_t fewest_significant = 2;

struct move_finder {
    const text_lines &base;
    const text_lines &file;
    const std::vector<edit> &edits;
    line_equality equality;
    std::vector<bool> base_taken, file_taken;

    bool free_pair(std::int32_t b, std::int32_t f) const {
        return !base_taken[static_cast<std::size_t>(b)] &&
               !file_taken[static_cast<std::size_t>(f)] &&
               same_line(base.line(b), file.line(f), equality);
    }
};

bool is_moved(const move_finder &m, const line_run &run) {
    std::int32_t significant = 0;
    for (std::int32_t i = 0; i < run.count && significant < fewest_significant; i++) {
        significant += is_significant(m.base.line(run.base_first + i)) ? 1 : 0;
    }
    return significant >= fewest_significant;
}

// Grows the pair of lines to the longest run within the two edits, and takes it if it counts.
// Returns the base line after the run, taken or not.
std::int32_t take_run(move_finder &m, line_run run, const edit &removing, const edit &inserting,
                      std::vector<line_run> *moves) {
    std::int32_t after = run.base_first + 1;
    std::int32_t file_after = run.file_first + 1;
    while (after < removing.base_end && file_after < inserting.file_end &&
           m.free_pair(after, file_after)) {
        after++;
        file_after++;
    }
    while (run.base_first > removing.base_first && run.file_first > inserting.file_first &&
           m.free_pair(run.base_first - 1, run.file_first - 1)) {
        run.base_first--;
        run.file_first--;
    }
    run.count = after - run.base_first;
    // Also what does not count is not looked at again.
    for (std::int32_t i = 0; i < run.count; i++) {
        m.base_taken[static_cast<std::size_t>(run.base_first + i)] = true;
        m.file_taken[static_cast<std::size_t>(run.file_first + i)] = true;
    }
    if (is_moved(m, run)) {
        moves->push_back(run);
    }
    return after;
}

bool none_taken(const std::vector<bool> &taken, std::int32_t first, std::int32_t end) {
    return std::find(taken.begin() + first, taken.begin() + end, true) == taken.begin() + end;
}

void take_whole_edits(move_finder &m, std::vector<line_run> *moves) {
    std::unordered_map<std::string_view, std::int32_t> removed;  // text and first line
    for (const edit &e : m.edits) {
        if (e.base_end - e.base_first >= fewest_significant &&
            none_taken(m.base_taken, e.base_first, e.base_end)) {
            removed.emplace(m.base.range(e.base_first, e.base_end), e.base_first);
        }
    }
    for (const edit &e : m.edits) {
        const std::int32_t count = e.file_end - e.file_first;
        if (count < fewest_significant || removed.empty() ||
            !none_taken(m.file_taken, e.file_first, e.file_end)) {
            continue;
        }
        const auto found = removed.find(m.file.range(e.file_first, e.file_end));
        if (found != removed.end() && is_moved(m, {found->second, e.file_first, count})) {
            moves->push_back({found->second, e.file_first, count});
            removed.erase(found);
        }
    }
}

// The edit whose range from `first` to `end` has the line; -1 when there is none.
template <std::int32_t edit::*first, std::int32_t edit::*end>
std::int32_t edit_with(const std::vector<edit> &edits, std::int32_t line) {
    const auto it = std::upper_bound(edits.begin(), edits.end(), line,
                                     [](std::int32_t l, const edit &e) { return l < e.*end; });
    return it != edits.end() && (*it).*first <= line ? static_cast<std::int32_t>(it - edits.begin())
                                                     : -1;
}

}  // namespace

std::int32_t edit_removing(const std::vector<edit> &edits, std::int32_t line) {
    return edit_with<&edit::base_first, &edit::base_end>(edits, line);
}

std::int32_t edit_inserting(const std::vector<edit> &edits, std::int32_t line) {
    return edit_with<&edit::file_first, &edit::file_end>(edits, line);
}

std::vector<line_run> moved_runs(const text_lines &base, const text_lines &file,
                                 const std::vector<edit> &edits,
                                 std::span<const line_run> candidates, line_equality equality) {
    std::vector<line_run> moves;
    if (candidates.empty() && edits.size() < 2) {
        return moves;
    }
    move_finder m{base,
                  file,
                  edits,
                  equality,
                  std::vector<bool>(static_cast<std::size_t>(base.count())),
                  std::vector<bool>(static_cast<std::size_t>(file.count()))};
    for (const line_run &run : candidates) {
        std::int32_t i = 0;
        while (i < run.count) {
            const std::int32_t b = run.base_first + i;
            const std::int32_t f = run.file_first + i;
            const std::int32_t removing = edit_removing(edits, b);
            const std::int32_t inserting = edit_inserting(edits, f);
            if (removing < 0 || inserting < 0 || !m.free_pair(b, f)) {
                i++;
                continue;
            }
            i = take_run(m, {b, f, 1}, edits[static_cast<std::size_t>(removing)],
                         edits[static_cast<std::size_t>(inserting)], &moves) -
                run.base_first;
        }
    }
    take_whole_edits(m, &moves);
    std::sort(moves.begin(), moves.end(),
              [](const line_run &a, const line_run &b) { return a.base_first < b.base_first; });
    return moves;
}

}  // namespace norvik
