#include "weave_rewrite.h"

#include <algorithm>
#include <utility>

#include "weave_cursor.h"

namespace host {
namespace {

constexpr std::size_t no_record = SIZE_MAX;

// A record or some lines, in the order of the weave.
struct piece {
    std::string_view bytes;
    std::size_t record = no_record;
    char kind = 0;  // of the lines
};

struct counted_record {
    char kind = 0;
    run_fields fields;
    uint64_t kept = 0;  // of the lines that it counts
    bool dead = false;  // no survivor has it
};

class rewriting {
public:
    rewriting(const container_view &view, const version_tree &tree, const survivor_set &survivors,
              const rewrite_plan &plan)
        : cursor_(view, tree, false), tree_(tree), survivors_(survivors), plan_(plan) {}

    void read() {
        weave_stretch stretch;
        while (cursor_.next(&stretch)) {
            take_records();
            take_stretch(stretch);
        }
        take_records();
    }

    void write(output_writer *out) const {
        for (const piece &part : pieces_) {
            if (part.record == no_record) {
                write_lines(part, out);
            } else {
                write_record(records_[part.record], out);
            }
        }
    }

private:
    void take_records() {
        for (const weave_record &record : cursor_.records()) {
            const position_range members =
                members_of(tree_, {record.fields.branch, record.fields.version});
            records_.resize(record.ordinal + 1);
            // A run keeps the lines that come; a deletion loses those that go.
            records_[record.ordinal] = {record.kind, record.fields,
                                        record.kind == 'I' ? 0 : record.fields.count,
                                        !survivors_.any_in(members)};
            pieces_.push_back({record.bytes, record.ordinal, 0});
        }
    }

    bool is_held(const weave_stretch &stretch) {
        parts_.clear();
        cursor_.holders(stretch, &parts_);
        return std::any_of(parts_.begin(), parts_.end(),
                           [this](position_range part) { return survivors_.any_in(part); });
    }

    void take_stretch(const weave_stretch &stretch) {
        uint64_t kept = stretch.lines;
        if (is_held(stretch)) {
            pieces_.push_back({stretch.bytes, no_record, stretch.kind});
        } else {
            kept = take_lines(stretch);
        }
        records_[stretch.run_record].kept += kept;
        const uint64_t lost = stretch.lines - kept;
        if (lost == 0) {
            return;
        }
        std::vector<std::size_t> counting;
        cursor_.counting_deletions(stretch, &counting);
        for (const std::size_t record : counting) {
            records_[record].kept -= lost;
        }
    }

    // Keeps the lines of a stretch that are not to be taken out; returns how many.
    uint64_t take_lines(const weave_stretch &stretch) {
        uint64_t kept = 0;
        for (std::string_view rest = stretch.bytes; !rest.empty();) {
            const std::string_view line = rest.substr(0, rest.find('\n') + 1);
            const std::string_view whole = line.empty() ? rest : line;
            rest.remove_prefix(whole.size());
            if (!plan_.takes_out(text_of(whole))) {
                pieces_.push_back({whole, no_record, stretch.kind});
                kept++;
            }
        }
        return kept;
    }

    // Marked lines in the form in which lines of their text are written.
    static void write_lines(const piece &part, output_writer *out) {
        const std::string_view text = text_of(part.bytes);
        if (part.kind == 'T') {
            out->write("^Q ");
            out->write(text);
        } else if (part.kind == 'Q' && !text.starts_with('^')) {
            out->write(text);
        } else {
            out->write(part.bytes);
        }
    }

    void write_record(const counted_record &record, output_writer *out) const {
        if (record.kept != 0 && !(record.dead && plan_.take_out_dead_records)) {
            out->printf("^%c %llx %llx %llx\n", record.kind,
                        static_cast<unsigned long long>(record.fields.branch),
                        static_cast<unsigned long long>(record.fields.version),
                        static_cast<unsigned long long>(record.kept));
        }
    }

    weave_cursor cursor_;
    const version_tree &tree_;
    const survivor_set &survivors_;
    const rewrite_plan &plan_;
    std::vector<piece> pieces_;
    std::vector<counted_record> records_;  // by ordinal
    std::vector<position_range> parts_;
};

}  // namespace

survivor_set::survivor_set(const std::vector<bool> &alive) {
    before_.reserve(alive.size() + 1);
    uint32_t count = 0;
    for (const bool survives : alive) {
        before_.push_back(count);
        count += survives ? 1 : 0;
    }
    before_.push_back(count);
}

void rewrite_weave(const container_view &view, const version_tree &tree,
                   const survivor_set &survivors, const rewrite_plan &plan, output_writer *out) {
    rewriting work(view, tree, survivors, plan);
    work.read();
    work.write(out);
}

}  // namespace host
