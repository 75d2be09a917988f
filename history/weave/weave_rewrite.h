// Writes a weave again without lines that no surviving version holds.
//
// A line taken out takes one off the count of its run, and one off every deletion that counts it;
// records that come to count nothing go as well. A surviving version does not hold the line for one
// of two reasons: it does not have the run, which then counts one line less to pass over; or the
// oldest of its deletions over the line hides it, and that one counts it, since the version before
// that deletion holds the line. So what it reads stays the same.
#ifndef NORVIK_WEAVE_REWRITE_H
#define NORVIK_WEAVE_REWRITE_H

#include <functional>
#include <set>
#include <string_view>
#include <vector>

#include "container_view.h"
#include "record_encode.h"
#include "weave_cursor.h"

namespace norvik {

// Which versions survive, by position, and how many of them a range holds.
class survivor_set {
public:
    explicit survivor_set(const std::vector<bool> &alive);
    [[nodiscard]] bool any_in(position_range range) const {
        return before_[range.first] != before_[range.end];
    }

private:
    std::vector<std::uint32_t> before_;
};

struct rewrite_plan {
    // Whether a line that no survivor holds is taken out; `text` as a version reads it.
    std::function<bool(std::string_view text)> takes_out;
    // Whether records that no survivor has in its lineage are taken out although they count lines.
    bool take_out_dead_records = false;
};

// What stays of a weave; whatever belongs to no run does not. One pass over the weave to read it,
// one over what stays to write it. View and tree must outlive it.
class weave_rewrite {
public:
    weave_rewrite(const container_view &view, const version_tree &tree,
                  const survivor_set &survivors, const rewrite_plan &plan);

    // The versions that still have records.
    [[nodiscard]] std::set<version_id> owners() const;
    // Hands the new weave to `sink` piece by piece, each a std::string_view.
    template <typename Sink>
    void write(Sink &&sink) const;

private:
    // A record or some lines, in the order of the weave.
    struct piece {
        std::string_view bytes;
        std::size_t record = SIZE_MAX;  // SIZE_MAX for lines
        char kind = 0;                  // of the lines
    };
    struct counted_record {
        char kind = 0;
        run_fields fields;
        std::uint64_t kept = 0;  // of the lines that it counts
        bool dead = false;       // no survivor has it
    };

    void take_records();
    void take_stretch(const weave_stretch &stretch);
    std::uint64_t take_lines(const weave_stretch &stretch);
    bool is_held(const weave_stretch &stretch);
    bool stays(const counted_record &record) const;

    weave_cursor cursor_;
    const version_tree &tree_;
    const survivor_set &survivors_;
    const rewrite_plan &plan_;
    std::vector<piece> pieces_;
    std::vector<counted_record> records_;  // by ordinal
    std::vector<position_range> parts_;
};

template <typename Sink>
void weave_rewrite::write(Sink &&sink) const {
    for (const piece &part : pieces_) {
        if (part.record != SIZE_MAX) {
            if (const counted_record &record = records_[part.record]; stays(record)) {
                format::encode_run(record.kind, record.fields.branch, record.fields.version,
                                   record.kept, sink);
            }
            continue;
        }
        // A marked line is written as lines of its text are.
        const std::string_view text = text_of(part.bytes);
        if (part.kind == format::kind_marked_text) {
            sink(format::quoted_prefix);
            sink(text);
        } else if (part.kind == format::kind_quoted && !text.starts_with(format::record_mark)) {
            sink(text);
        } else {
            sink(part.bytes);
        }
    }
}

}  // namespace norvik

#endif
