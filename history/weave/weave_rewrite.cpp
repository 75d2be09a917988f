// Reading keeps a view of every record and stretch, 32 bytes each, and 48 bytes a record for its
// count, which is known only when all its lines have been seen: that is why writing is a second
// pass.
#include "weave_rewrite.h"

#include <algorithm>

namespace norvik {
survivor_set::survivor_set(const std::vector<bool> &alive) {
    before_.reserve(alive.size() + 1);
    std::uint32_t count = 0;
    for (const bool survives : alive) {
        before_.push_back(count);
        count += survives ? 1 : 0;
    }
    before_.push_back(count);
}

weave_rewrite::weave_rewrite(const container_view &view, const version_tree &tree,
                             const survivor_set &survivors, const rewrite_plan &plan)
    : cursor_(view, tree), tree_(tree), survivors_(survivors), plan_(plan) {
    weave_stretch stretch;
    while (cursor_.next(&stretch)) {
        take_records();
        take_stretch(stretch);
    }
    take_records();
}

void weave_rewrite::take_records() {
    for (const weave_record &record : cursor_.records()) {
        const run_fields &fields = record.fields;
        const position_range members = members_of(tree_, {fields.branch, fields.version});
        records_.resize(record.ordinal + 1);
        // A run keeps the lines that come; a deletion loses those that go.
        records_[record.ordinal] = {record.kind, fields,
                                    record.kind == format::kind_insert ? 0 : fields.count,
                                    !survivors_.any_in(members)};
        pieces_.push_back({record.bytes, record.ordinal, 0});
    }
}

bool weave_rewrite::is_held(const weave_stretch &stretch) {
    parts_.clear();
    cursor_.holders(stretch, &parts_);
    return std::any_of(parts_.begin(), parts_.end(),
                       [this](position_range part) { return survivors_.any_in(part); });
}

void weave_rewrite::take_stretch(const weave_stretch &stretch) {
    std::uint64_t kept = stretch.lines;
    if (is_held(stretch)) {
        pieces_.push_back({stretch.bytes, SIZE_MAX, stretch.kind});
    } else {
        kept = take_lines(stretch);
    }
    records_[stretch.run_record].kept += kept;
    const std::uint64_t lost = stretch.lines - kept;
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
std::uint64_t weave_rewrite::take_lines(const weave_stretch &stretch) {
    std::uint64_t kept = 0;
    for (std::string_view rest = stretch.bytes; !rest.empty();) {
        const std::size_t newline = rest.find('\n');
        const std::string_view line = rest.substr(0, newline == rest.npos ? newline : newline + 1);
        rest.remove_prefix(line.size());
        if (!plan_.takes_out(text_of(line))) {
            pieces_.push_back({line, SIZE_MAX, stretch.kind});
            kept++;
        }
    }
    return kept;
}

bool weave_rewrite::stays(const counted_record &record) const {
    return record.kept != 0 && !(record.dead && plan_.take_out_dead_records);
}

std::set<version_id> weave_rewrite::owners() const {
    std::set<version_id> ids;
    for (const counted_record &record : records_) {
        if (stays(record)) {
            ids.insert({record.fields.branch, record.fields.version});
        }
    }
    return ids;
}

}  // namespace norvik
