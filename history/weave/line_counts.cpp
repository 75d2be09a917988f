// A line of a version is known by how many lines with a newline the version has read before it.
// These are all its stored lines less the open ones, each kept in a member tree. What a version
// deletes it deletes of the version before it. The last line that a version has added, and deleted,
// is remembered, so that its other pieces are not counted again.
#include "line_counts.h"

#include <algorithm>

namespace norvik {

namespace {

// How many lines a version has changed in one way, which come in the order of its text.
class changed_lines {
public:
    // Lines from `first` on; `first` may have been counted already.
    void add(std::uint64_t first, std::uint64_t lines) {
        count_ += lines - (first + 1 == end_ ? 1 : 0);
        end_ = first + lines;
    }
    std::uint64_t count() const { return count_; }

private:
    std::uint64_t count_ = 0;
    std::uint64_t end_ = 0;  // behind the last one counted
};

class line_counter {
public:
    line_counter(const container_view &view, const version_tree &tree)
        : tree_(tree),
          cursor_(view, tree),
          stored_(size(), false),
          open_(size(), false),
          added_(size()),
          deleted_(size()) {}

    void run() {
        weave_stretch stretch;
        while (cursor_.next(&stretch)) {
            for (const weave_record &record : cursor_.records()) {
                owners_.resize(record.ordinal + 1, no_position);
                owners_[record.ordinal] =
                    position_of(tree_, {record.fields.branch, record.fields.version});
            }
            take(stretch);
        }
    }

    void put(std::vector<text_step> *totals, std::vector<change_counts> *changes) {
        const std::vector<text_step> stored = stored_.totals();
        const std::vector<text_step> open = open_.totals();
        for (std::size_t i = 0; i < stored.size(); i++) {
            const bool ends_open = open[i].lines > 0 && open[i].last_line == stored[i].last_line;
            (*totals)[i].lines = stored[i].lines - open[i].lines + (ends_open ? 1 : 0);
            (*changes)[i] = {added_[i].count(), deleted_[i].count()};
        }
    }

private:
    std::uint32_t size() const { return static_cast<std::uint32_t>(tree_.versions.size()); }

    std::uint64_t ended_lines(std::uint32_t position) const {
        return stored_.lines_of(position) - open_.lines_of(position);
    }

    void take(const weave_stretch &stretch) {
        const std::uint32_t by = position_of(tree_, stretch.run);
        if (by != no_position) {
            added_[by].add(ended_lines(by), stretch.lines);
        }
        counting_.clear();
        cursor_.counting_deletions(stretch, &counting_);
        for (const std::size_t record : counting_) {
            const std::uint32_t owner = owners_[record];
            const std::uint32_t before = owner == no_position ? no_position : tree_.parent[owner];
            if (before != no_position) {
                deleted_[owner].add(ended_lines(before), stretch.lines);
            }
        }
        holders_.clear();
        cursor_.holders(stretch, &holders_);
        text_step step;
        step.lines = stretch.lines;
        step.last_line = stretch.line + stretch.lines - 1;
        for (const position_range &part : holders_) {
            stored_.apply(part, step);
            if (stretch.kind == format::kind_unended) {
                open_.apply(part, step);
            }
        }
    }

    const version_tree &tree_;
    weave_cursor cursor_;
    member_tree stored_;  // the lines that each version has read, and those of them that are open
    member_tree open_;
    std::vector<changed_lines> added_;  // by position
    std::vector<changed_lines> deleted_;
    std::vector<std::uint32_t> owners_;  // of the records, by ordinal
    std::vector<std::size_t> counting_;
    std::vector<position_range> holders_;
};

}  // namespace

void count_rows_as_lines(const container_view &view, const version_tree &tree,
                         std::vector<text_step> *totals, std::vector<change_counts> *changes) {
    if (std::ranges::any_of(*totals, has_inner_open_line)) {
        line_counter counter(view, tree);
        counter.run();
        counter.put(totals, changes);
    }
}

}  // namespace norvik
