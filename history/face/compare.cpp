// Comparison of two texts in memory, through the library as the command's own.
#include <norviktdm/changes.h>

#include <memory>
#include <vector>

#include "comparison.h"
#include "error.h"
#include "texts.h"

struct norvik_comparison {
    std::vector<norvik::lined_text> files;  // before and after
    std::vector<norvik_hunk> hunks;
    std::vector<norvik_move> moves;
};

namespace norvik::face {
namespace {

void take(const file_edits &edits, norvik_comparison *out) {
    for (const edit &e : edits.edits) {
        out->hunks.push_back(
            {lines_of(e.base_first, e.base_end), lines_of(e.file_first, e.file_end)});
    }
    for (const line_run &run : edits.moves) {
        out->moves.push_back({line_number(run.base_first), line_number(run.file_first),
                              static_cast<std::uint32_t>(run.count)});
    }
}

norvik_error *compare(norvik_text before, norvik_text after, std::uint32_t flags,
                      norvik_comparison **out) {
    if ((flags & ~std::uint32_t{norvik_ignore_blanks}) != 0) {
        return refuse("unknown flags of a comparison");
    }
    const bool ignore_blanks = (flags & norvik_ignore_blanks) != 0;
    auto result = std::make_unique<norvik_comparison>();
    std::vector<lined_text> &files = result->files;
    files.resize(2);
    if (norvik_error *error = hold(before, "first text", &files[0]); error != nullptr) {
        return error;
    }
    if (norvik_error *error = hold(after, "second text", &files[1]); error != nullptr) {
        return error;
    }
    comparison compared;
    if (const auto done = compare_files(&files, "compare", ignore_blanks,
                                        after_compare::close_session, &compared);
        !done) {
        return make_error(done.failure());
    }
    const auto equality = ignore_blanks ? line_equality::without_blanks : line_equality::exact;
    take(edits_of(compared, files, 1, {equality, true}), result.get());
    close_files(&files);
    *out = result.release();
    return nullptr;
}

// What there is of the lines.
norvik_text text_of(const text_lines &text, norvik_lines lines) {
    const auto count = static_cast<std::uint64_t>(text.count());
    if (lines.first == 0 || lines.first > count) {
        return {};
    }
    const std::uint64_t end = std::min(count, std::uint64_t{lines.first} - 1 + lines.count);
    return as_text(
        text.range(static_cast<std::int32_t>(lines.first - 1), static_cast<std::int32_t>(end)));
}

}  // namespace
}  // namespace norvik::face

using namespace norvik;

norvik_error *norvik_compare(norvik_text before, norvik_text after, std::uint32_t flags,
                             norvik_comparison **out) {
    return face::giving(out, [&] { return face::compare(before, after, flags, out); });
}

std::size_t norvik_hunk_count(const norvik_comparison *comparison) {
    return comparison == nullptr ? 0 : comparison->hunks.size();
}

const norvik_hunk *norvik_hunk_at(const norvik_comparison *comparison, std::size_t index) {
    return comparison == nullptr ? nullptr : face::at(comparison->hunks, index);
}

std::size_t norvik_move_count(const norvik_comparison *comparison) {
    return comparison == nullptr ? 0 : comparison->moves.size();
}

const norvik_move *norvik_move_at(const norvik_comparison *comparison, std::size_t index) {
    return comparison == nullptr ? nullptr : face::at(comparison->moves, index);
}

norvik_text norvik_before_lines(const norvik_comparison *comparison, norvik_lines lines) {
    return comparison == nullptr ? norvik_text{} : face::text_of(comparison->files[0].lines, lines);
}

norvik_text norvik_after_lines(const norvik_comparison *comparison, norvik_lines lines) {
    return comparison == nullptr ? norvik_text{} : face::text_of(comparison->files[1].lines, lines);
}

void norvik_comparison_free(norvik_comparison *comparison) {
    delete comparison;
}
