// What a version reads is known by two things: the bytes up to its first newline, and those behind
// its last one; rows in between have been judged. Two such summaries in order make one, so they
// wait in a segment tree over the versions as in member_tree.h, always in order. Of a stretch of
// plain lines only the first one matters. 64 bytes a node, twice as many nodes as versions.
#include "row_scan.h"

#include <algorithm>
#include <bit>

#include "line_pieces.h"
#include "weave_scan.h"

namespace norvik {

namespace {

// Pieces that follow each other, and perhaps the line that closes them.
struct row {
    std::uint64_t bytes = 0;  // without a newline
    std::uint64_t lines = 0;
    std::uint64_t first_line = 0;  // container line

    void add(const row &next) {
        if (lines == 0) {
            *this = next;
            return;
        }
        bytes += next.bytes;
        lines += next.lines;
    }
};

struct row_summary {
    row head;             // up to the first line that has a newline, it included
    bool closed = false;  // whether there is one
    row tail;             // behind the last one that has
    std::uint64_t short_row = 0;

    void judge(const row &whole) {
        if (whole.lines > 1 && !format::is_row(whole.bytes) &&
            (short_row == 0 || whole.first_line < short_row)) {
            short_row = whole.first_line;
        }
    }

    void add(const row_summary &next) {
        if (next.short_row != 0 && (short_row == 0 || next.short_row < short_row)) {
            short_row = next.short_row;
        }
        row &open = closed ? tail : head;
        open.add(next.head);
        if (!next.closed) {
            return;
        }
        if (closed) {
            judge(tail);
        }
        closed = true;
        tail = next.tail;
    }

    bool empty() const { return head.lines == 0; }
};

// What each version has read.
class row_tree {
public:
    explicit row_tree(std::uint32_t positions)
        : size_(std::bit_ceil(std::max(positions, std::uint32_t{1}))),
          nodes_(std::size_t{2} * size_) {}

    void apply(position_range range, const row_summary &step) {
        descend(1, {0, size_}, range, step);
    }

    std::vector<std::uint64_t> totals(std::uint32_t positions) {
        for (std::size_t at = 1; at < size_; at++) {
            push(at);
        }
        std::vector<std::uint64_t> out;
        for (std::size_t at = size_; at < std::size_t{size_} + positions; at++) {
            row_summary &read = nodes_[at];
            read.judge(read.head);
            read.judge(read.tail);
            out.push_back(read.short_row);
        }
        return out;
    }

private:
    void push(std::size_t at) {
        if (!nodes_[at].empty()) {
            nodes_[2 * at].add(nodes_[at]);
            nodes_[2 * at + 1].add(nodes_[at]);
            nodes_[at] = {};
        }
    }

    void descend(std::size_t at, position_range span, position_range range,
                 const row_summary &step) {
        if (range.holds(span)) {
            nodes_[at].add(step);
            return;
        }
        push(at);
        const std::uint32_t middle = span.first + (span.end - span.first) / 2;
        if (range.first < middle) {
            descend(2 * at, {span.first, middle}, range, step);
        }
        if (range.end > middle) {
            descend(2 * at + 1, {middle, span.end}, range, step);
        }
    }

    std::uint32_t size_;
    std::vector<row_summary> nodes_;  // children of i at 2i and 2i + 1
};

row_summary summary_of(const weave_stretch &stretch) {
    const std::string_view line = stretch.bytes.substr(0, stretch.bytes.find('\n') + 1);
    const std::string_view text = text_of(line.empty() ? stretch.bytes : line);
    row_summary step;
    step.closed = stretch.kind != format::kind_unended;
    step.head = {text.size() - (step.closed && text.ends_with('\n') ? 1 : 0), 1, stretch.line};
    return step;
}

// Whether a line without newline stands anywhere before the end of the file.
bool may_have_rows(const container_view &view) {
    const std::string_view weave = view.bytes.view().substr(view.weave_offset);
    // The mark is rarer than the newline before it.
    for (std::size_t at = weave.find(format::record_mark); at != std::string_view::npos;
         at = weave.find(format::record_mark, at + 1)) {
        if (at > 0 && weave[at - 1] == '\n' &&
            weave.substr(at).starts_with(format::unended_prefix)) {
            return weave.find('\n', at) + 1 < weave.size();
        }
    }
    return false;
}

}  // namespace

std::vector<std::uint64_t> find_short_rows(const container_view &view, const version_tree &tree) {
    const auto positions = static_cast<std::uint32_t>(tree.versions.size());
    row_tree versions(positions);
    weave_cursor cursor(view, tree);
    weave_stretch stretch;
    std::vector<position_range> holders;
    while (cursor.next(&stretch)) {
        holders.clear();
        cursor.holders(stretch, &holders);
        const row_summary step = summary_of(stretch);
        for (const position_range &part : holders) {
            versions.apply(part, step);
        }
    }
    return versions.totals(positions);
}

std::set<version_id> versions_with_rows(const container_view &view) {
    std::set<version_id> found;
    if (!may_have_rows(view)) {
        return found;
    }
    const weave_scan scan = scan_weave(view, fingerprints::none, {});
    for (const version_record &version : view.versions) {
        const std::uint32_t at = position_of(scan.tree, version.id);
        if (!version.deleted && at != no_position && has_inner_open_line(scan.totals[at])) {
            found.insert(version.id);
        }
    }
    return found;
}

}  // namespace norvik
