// Matching the lines of a small stretch of two texts: what the difference stream leaves unmatched
// between two runs is looked at once more, line by line, so that an edit is as small as it can be.
//
// E. W. Myers, "An O(ND) Difference Algorithm and Its Variations", Algorithmica 1986, on the lines
// that occur on both sides. Where the two sides differ too much for it, lines that are unique on
// both sides divide the stretch first; what cannot be divided stays unmatched. The work is bounded
// by the lines of the stretch times a constant.
#ifndef NORVIK_GAP_MATCH_H
#define NORVIK_GAP_MATCH_H

#include <vector>

#include "edit.h"
#include "line_numbers.h"
#include "text_lines.h"

namespace norvik {

// Keeps its tables from one gap to the next, so that many small gaps cost no allocation each.
class gap_matcher {
public:
    // Both texts must outlive the matcher.
    gap_matcher(const text_lines &base, const text_lines &file, line_equality equality)
        : base_(base), file_(file), equality_(equality), table_(equality) {}

    // Appends to `runs` pairs of equal lines of the gap, in increasing order in both texts.
    void match(const edit &gap, std::vector<line_run> *runs);

    // The same, but as many pairs as there can be or none: false, and nothing appended, where the
    // two sides differ too much for that.
    bool match_fully(const edit &gap, std::vector<line_run> *runs);

private:
    struct span {
        std::int32_t x_first, x_end, y_first, y_end;
    };

    enum class too_far { divide, leave };

    bool match_middle(const edit &gap, too_far otherwise, std::vector<line_run> *runs);
    bool match_as(const edit &gap, too_far otherwise, std::vector<line_run> *runs);
    bool same(std::int32_t base_line, std::int32_t file_line) const;
    void match_one(const edit &gap, std::vector<line_run> *runs) const;
    void number_lines(const edit &gap);
    void keep_common(const edit &gap);
    bool shortest_edit(const span &part, std::vector<line_run> *runs);
    void trace_back(const span &part, std::int32_t steps, std::vector<line_run> *runs);
    void divide(const span &part, std::vector<line_run> *runs);
    void add(std::int32_t x, std::int32_t y, std::vector<line_run> *runs) const;

    const text_lines &base_;
    const text_lines &file_;
    line_equality equality_;

    // Every distinct line of the gap has a number; numbers_ holds the base's lines first. The
    // lines that occur on both sides are x and y, with the lines of the texts that they stand for.
    line_numbers table_;
    std::vector<std::int32_t> numbers_;
    std::vector<std::int32_t> x_, y_, x_line_, y_line_;
    std::vector<std::int32_t> furthest_, trace_;
    std::vector<std::int32_t> count_x_, count_y_, place_y_;
};

}  // namespace norvik

#endif
