// Lines are numbered once in a hash table, 40 bytes a distinct line and 16 a line. Some lines of
// the common ends go along, as far as an edit among equal lines may want to move.
#include "text_compare.h"

#include <algorithm>

#include "edit_list.h"
#include "line_numbers.h"
#include "text_ends.h"

namespace norvik {

namespace {

constexpr int lines_beside = 200;

// The part of both texts that is looked at, and how much at its ends is common.
struct compared_part {
    std::string_view before;
    std::string_view text;
    std::int32_t lines_ahead = 0;  // before the part, in both texts
    common_ends ends = {};
};

bool at_line_start(std::string_view text, std::size_t offset) {
    return offset == 0 || text[offset - 1] == '\n';
}

// The common end in whole lines, behind the common beginning.
std::size_t common_tail(std::string_view before, std::string_view text) {
    const std::size_t size = common_ending(before, text);
    if (at_line_start(before, before.size() - size) && at_line_start(text, text.size() - size)) {
        return size;
    }
    const std::size_t newline = before.find('\n', before.size() - size);
    return newline == std::string_view::npos ? 0 : before.size() - newline - 1;
}

// The offset of the line that stands `lines` before the one at `offset`, or as many as there are.
std::size_t go_back(std::string_view text, std::size_t offset, int lines) {
    for (; lines > 0 && offset > 0; lines--) {
        const std::size_t newline = offset < 2 ? offset : text.rfind('\n', offset - 2);
        offset = offset < 2 || newline == std::string_view::npos ? 0 : newline + 1;
    }
    return offset;
}

std::size_t go_forward(std::string_view text, std::size_t offset, int lines) {
    for (; lines > 0 && offset < text.size(); lines--) {
        const std::size_t newline = text.find('\n', offset);
        offset = newline == std::string_view::npos ? text.size() : newline + 1;
    }
    return offset;
}

compared_part find_part(std::string_view before, std::string_view text) {
    const std::size_t common = common_beginning(before, text);
    const std::size_t newline =
        common == 0 ? std::string_view::npos : before.rfind('\n', common - 1);
    const std::size_t head = newline == std::string_view::npos ? 0 : newline + 1;
    const std::size_t tail = common_tail(before.substr(head), text.substr(head));
    const std::size_t start = go_back(before, head, lines_beside);
    const std::size_t behind =
        go_forward(before, before.size() - tail, lines_beside) - (before.size() - tail);
    const std::size_t left_out = start + (tail - behind);
    compared_part part{.before = before.substr(start, before.size() - left_out),
                       .text = text.substr(start, text.size() - left_out)};
    const auto lines_between = [before](std::size_t from, std::size_t to) {
        return std::count(before.begin() + static_cast<std::ptrdiff_t>(from),
                          before.begin() + static_cast<std::ptrdiff_t>(to), '\n');
    };
    part.lines_ahead = static_cast<std::int32_t>(lines_between(0, start));
    part.ends = {static_cast<std::uint64_t>(lines_between(start, head)), behind, behind};
    return part;
}

// Where the lines of a number stand.
struct places {
    std::int32_t base = -1;
    std::int32_t file = -1;
    bool once = true;  // on no side twice
};

std::vector<line_run> unique_runs(const text_lines &base, const text_lines &file,
                                  std::int32_t first, std::int32_t tail_lines,
                                  line_equality equality = line_equality::exact) {
    const std::int32_t base_end = base.count() - tail_lines;
    const std::int32_t file_end = file.count() - tail_lines;
    line_numbers table(equality);
    table.reset(static_cast<std::size_t>(base_end - first));
    std::vector<places> found;
    const auto enter = [&](std::string_view line, std::int32_t at, std::int32_t places::*side) {
        const auto number = static_cast<std::size_t>(table.number(line));
        if (number == found.size()) {
            found.emplace_back();
        }
        found[number].once = found[number].once && found[number].*side < 0;
        found[number].*side = at;
    };
    for (std::int32_t i = first; i < base_end; i++) {
        enter(base.line(i), i, &places::base);
    }
    for (std::int32_t i = first; i < file_end; i++) {
        enter(file.line(i), i, &places::file);
    }
    std::vector<line_run> pairs;
    for (const places &line : found) {
        if (line.once && line.base >= 0 && line.file >= 0) {
            pairs.push_back({line.base, line.file, 1});
        }
    }
    std::sort(pairs.begin(), pairs.end(),
              [](const line_run &a, const line_run &b) { return a.file_first < b.file_first; });
    return pairs;
}

}  // namespace

std::vector<edit> compare_texts(std::string_view before, std::string_view text) {
    if (before == text) {
        return {};
    }
    const compared_part part = find_part(before, text);
    const text_lines base = split_lines(part.before);
    const text_lines file = split_lines(part.text);
    const auto tail_lines = static_cast<std::int32_t>(
        std::count(part.before.end() - static_cast<std::ptrdiff_t>(part.ends.base_tail_bytes),
                   part.before.end(), '\n'));
    const auto head_lines = static_cast<std::int32_t>(part.ends.head_lines);
    const paired_lines pairs{{}, unique_runs(base, file, head_lines, tail_lines)};
    std::vector<edit> edits = edits_from_pairs(base, file, pairs, part.ends, {}).edits;
    for (edit &e : edits) {
        e.base_first += part.lines_ahead;
        e.base_end += part.lines_ahead;
        e.file_first += part.lines_ahead;
        e.file_end += part.lines_ahead;
    }
    return edits;
}

file_edits compare_lines(const text_lines &base, const text_lines &file,
                         const edit_list_options &options) {
    const std::int32_t most = std::min(base.count(), file.count());
    std::int32_t head = 0;
    while (head < most && base.line(head) == file.line(head)) {
        head++;
    }
    std::int32_t tail = 0;
    while (tail < most - head &&
           base.line(base.count() - 1 - tail) == file.line(file.count() - 1 - tail)) {
        tail++;
    }
    const std::uint64_t tail_bytes = base.range(base.count() - tail, base.count()).size();
    const paired_lines pairs{{}, unique_runs(base, file, head, tail, options.equality)};
    return edits_from_pairs(base, file, pairs,
                            {static_cast<std::uint64_t>(head), tail_bytes, tail_bytes}, options);
}

}  // namespace norvik
