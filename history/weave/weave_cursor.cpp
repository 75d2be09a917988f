// Where a deletion ends is asked of the member tree, which knows the nearest due line of every
// range, so that plain lines are taken as far as the next change of holders at once. Open deletions
// lie in a map by the version whose lines they count. A fault is noted with the versions in doubt,
// and the pass goes on.
#include "weave_cursor.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "line_hash.h"

namespace norvik {
namespace {

const char *find_byte(const char *first, const char *last, char byte) {
    const void *found = std::memchr(first, byte, static_cast<std::size_t>(last - first));
    return found == nullptr ? last : static_cast<const char *>(found);
}

std::string lines_text(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " line" : " lines");
}

position_range common_part(position_range a, position_range b) {
    const std::uint32_t first = std::max(a.first, b.first);
    return {first, std::max(first, std::min(a.end, b.end))};
}

const char *record_word(char kind) {
    return kind == format::kind_insert ? "an insert record" : "a delete record";
}

}  // namespace

weave_cursor::weave_cursor(const container_view &view, const version_tree &tree, fingerprints of)
    : view_(view),
      tree_(tree),
      fingerprints_(of),
      line_(view.weave_line),
      members_(static_cast<std::uint32_t>(tree.versions.size()), of != fingerprints::none),
      changes_(tree.versions.size()) {
    const std::string_view data = view.bytes.view();
    first_ = at_ = data.data() + view.weave_offset;
    end_ = data.data() + data.size();
    nul_ = find_byte(at_, end_, '\0');
}

void weave_cursor::fault(std::uint64_t line, std::string reason, position_range doubt) {
    faults_.push_back({{line, std::move(reason)}, doubt, false});
}

// A record that does not fit may have another owner or count than it says, or others around it may,
// so that any version can have got lines or lost them.
position_range weave_cursor::all() const {
    return all_versions(tree_);
}

// The line at `at_` with its newline, which the last line of a cut file lacks.
std::string_view weave_cursor::line_here() const {
    const char *newline = find_byte(at_, end_, '\n');
    const char *next = newline == end_ ? end_ : newline + 1;
    return {at_, static_cast<std::size_t>(next - at_)};
}

void weave_cursor::pass_line(std::string_view line) {
    at_ += line.size();
    line_++;
    if (nul_ < at_) {
        nul_ = find_byte(at_, end_, '\0');
    }
}

const char *weave_cursor::line_fault(std::string_view line) const {
    if (line.back() != '\n') {
        return "the file ends in the middle of this line";
    }
    if (nul_ < line.data() + line.size()) {
        return "a NUL byte";
    }
    static const std::string too_long =
        "a line of more than " + std::to_string(format::longest_line) + " bytes";
    return line.size() - 1 > format::longest_stored(line) ? too_long.c_str() : nullptr;
}

// Deletions whose last line has been passed cover nothing any more.
void weave_cursor::end_deletions() {
    for (std::uint32_t due; (due = members_.next_due()) != no_position;) {
        const std::uint64_t passed = members_.lines_of(due);
        auto i = deletions_.lower_bound({due, 0, 0});
        while (i != deletions_.end() && std::get<0>(i->first) == due &&
               std::get<1>(i->first) <= passed) {
            members_.cover(i->second.members, -1);
            i = deletions_.erase(i);
        }
        const bool more = i != deletions_.end() && std::get<0>(i->first) == due;
        members_.set_due(due, more ? std::get<1>(i->first) - passed : nothing_due);
    }
}

bool weave_cursor::take_run_fields(std::string_view line, char kind, run_fields *fields) {
    const spelling form = decode_run(line, fields);
    if (form == spelling::malformed) {
        fault(line_, std::string(record_word(kind)) + " that cannot be read", all());
        return false;
    }
    if (form != spelling::canonical) {
        // A digit that was lost, or a newline and with it the next line.
        fault(line_, std::string(record_word(kind)) + " spelled as none is written", all());
    }
    return true;
}

void weave_cursor::check_owner(char kind, version_id id, const tree_place &place) {
    if (!place.listed) {
        if (unlisted_[id]++ == 0) {
            fault(line_,
                  std::string(record_word(kind)) + " of " + version_name(view_, id) +
                      ", which the header does not list",
                  place.lost ? position_range{} : all());
        }
    } else if (id == version_id{0, 0}) {
        fault(line_, "the first version of all has no lines to insert or delete", all());
    }
    if (!runs_.empty() && !is_ancestor(runs_.back().id, runs_.back().members, id, place.members)) {
        fault(line_,
              std::string(record_word(kind)) + " of " + version_name(view_, id) +
                  " inside a run of " + version_name(view_, runs_.back().id) +
                  ", which it does not descend from",
              all());
    }
}

void weave_cursor::open_insert(const run_fields &fields, position_range members,
                               std::size_t ordinal) {
    const version_id id{fields.branch, fields.version};
    if (fields.count == 0) {
        fault(line_, "an insert record of 0 lines", all());
        return;
    }
    runs_.push_back({id, members, fields.count, ordinal, line_});
}

void weave_cursor::begin_delete(const run_fields &fields, position_range members,
                                std::size_t ordinal) {
    const version_id id{fields.branch, fields.version};
    if (fields.count == 0) {
        fault(line_, "a delete record of 0 lines", all());
        return;
    }
    const std::uint32_t before = members.empty() ? no_position : tree_.parent[members.first];
    if (before == no_position) {
        fault(line_, "deletes " + lines_text(fields.count) + " where there are none before it",
              all());
        return;
    }
    if (members_.is_covered(members.first)) {
        fault(line_,
              "a deletion by " + version_name(view_, id) + " inside a deletion that it inherits",
              all());
    }
    // Under an open deletion holders are asked of the tree, which must know this one then.
    announced_ = active_deletion{ordinal, id, members, before, fields.count, line_};
    if (!deletions_.empty()) {
        activate_announced();
    }
}

void weave_cursor::activate_announced() {
    if (!announced_) {
        return;
    }
    const active_deletion &deletion = *announced_;
    const std::uint32_t before = deletion.before;
    const std::uint64_t passed = members_.lines_of(before);
    const std::uint64_t due =
        deletion.lines > nothing_due - 1 - passed ? nothing_due - 1 : passed + deletion.lines;
    deletions_.emplace(deletion_key{before, due, deletion.record}, deletion);
    members_.cover(deletion.members, +1);
    const auto first = deletions_.lower_bound({before, 0, 0});
    members_.set_due(before, std::get<1>(first->first) - passed);
    announced_.reset();
}

void weave_cursor::take_record(std::string_view line, char kind) {
    activate_announced();
    if (const char *reason = line_fault(line)) {
        fault(line_, reason, all());
    }
    if (!format::counts_lines(kind)) {
        fault(line_, "a record that does not belong into the weave", all());
        return;
    }
    weave_record record{kind, {}, next_ordinal_++, line};
    if (!take_run_fields(line, kind, &record.fields)) {
        return;
    }
    records_.push_back(record);
    const version_id id{record.fields.branch, record.fields.version};
    const tree_place place = place_of(tree_, id);
    if (place.position != no_position) {
        change_counts &changes = changes_[place.position];
        (kind == format::kind_insert ? changes.added : changes.deleted) += record.fields.count;
    }
    check_owner(kind, id, place);
    if (kind == format::kind_insert) {
        open_insert(record.fields, place.members, record.ordinal);
    } else {
        begin_delete(record.fields, place.members, record.ordinal);
    }
}

void weave_cursor::pass_stray_lines() {
    activate_announced();
    const std::uint64_t first = line_;
    std::uint64_t count = 0;
    while (at_ != end_ && holds_text(format::kind_of(line_here()))) {
        pass_line(line_here());
        count++;
    }
    fault(first, lines_text(count) + " outside every inserted run", all());
    faults_.back().stray = true;
}

void weave_cursor::check_under_deletion(open_run *run) {
    if (!run->told && !deletions_.empty() && !run->members.empty() &&
        members_.is_covered(run->members.first)) {
        run->told = true;
        fault(line_,
              "a line of " + version_name(view_, run->id) + " inside a deletion that is not newer",
              all());
    }
}

// What is wrong with the way a marked text line is written, or null.
const char *weave_cursor::spelling_fault(std::string_view line, char kind) const {
    if (kind == format::kind_marked_text) {
        return "a text line marked ^T, which none is written with";
    }
    if (line.size() <= record_prefix || line[2] != ' ') {
        return "a marked text line without the blank behind its mark";
    }
    const std::string_view text = text_of(line);
    if (kind == format::kind_quoted) {
        return text.starts_with(format::record_mark) ? nullptr
                                                     : "a quoted line that does not begin with ^";
    }
    return text.empty() ? "an unterminated line without text" : nullptr;
}

void weave_cursor::take_marked(char kind, weave_stretch *out, text_step *step) {
    const std::string_view line = line_here();
    if (const char *reason = line_fault(line)) {
        fault(line_, reason, out->members);
    }
    if (const char *reason = spelling_fault(line, kind)) {
        fault(line_, reason, all());  // it may be a record whose kind has become another one
    }
    const std::string_view text = text_of(line);
    out->bytes = line;
    out->lines = 1;
    *step = {1, text.size(), 1, 0, kind == format::kind_unended ? line_ : 0, line_};
    take_fingerprint(text, step);
    pass_line(line);
}

// Adds a line, or bytes of any number of lines, to a step.
void weave_cursor::take_fingerprint(std::string_view text, text_step *step) const {
    if (fingerprints_ == fingerprints::bytes) {
        step->factor = multiply_add(step->factor, text_factor(text.size()), 0);
        step->offset = add_text(step->offset, text);
    } else if (fingerprints_ == fingerprints::lines) {
        step->factor = multiply_add(step->factor, fingerprint_base, 0);
        step->offset = multiply_add(step->offset, fingerprint_base, hash_line(text));
    }
}

// Takes plain lines, `most` at most; a faulty one alone.
void weave_cursor::take_plain(std::uint64_t most, weave_stretch *out, text_step *step) {
    const char *const first = at_;
    while (out->lines < most && at_ != end_ && *at_ != format::record_mark) {
        const std::string_view line = line_here();
        const char *reason = line_fault(line);
        if (reason != nullptr && out->lines > 0) {
            break;
        }
        if (fingerprints_ == fingerprints::lines) {
            take_fingerprint(line, step);
        }
        out->lines++;
        if (reason != nullptr) {
            fault(line_, reason, out->members);
            pass_line(line);
            break;
        }
        at_ += line.size();
        line_++;
    }
    out->bytes = {first, static_cast<std::size_t>(at_ - first)};
    step->lines = out->lines;
    step->bytes = out->bytes.size();
    if (fingerprints_ == fingerprints::bytes) {
        take_fingerprint(out->bytes, step);
    }
    step->last_line = line_ - 1;
}

void weave_cursor::take_stretch(weave_stretch *out) {
    open_run &run = runs_.back();
    const char kind = *at_ == format::record_mark ? at_[1] : '\0';
    if (announced_ && (kind != format::kind_plain ||
                       !is_ancestor(run.id, run.members, announced_->by, announced_->members))) {
        activate_announced();
    }
    check_under_deletion(&run);
    *out = {run.id, run.members, run.record, {}, 0, line_, kind};
    text_step step;
    if (kind != format::kind_plain) {
        take_marked(kind, out, &step);
    } else {
        std::uint64_t most = announced_ ? announced_->lines : nothing_due;
        most = deletions_.empty() ? most : members_.nearest_due(run.members);
        take_plain(std::min(run.remaining, most), out, &step);
    }
    add_to_holders(*out, step);
    if ((run.remaining -= out->lines) == 0) {
        runs_.pop_back();
    }
}

void weave_cursor::add_to_holders(const weave_stretch &stretch, const text_step &step) {
    if (!announced_ || stretch.lines < announced_->lines) {
        activate_announced();
        members_.apply(stretch.members, step);
        return;
    }
    // All its lines are this stretch: its versions get none of them, and it ends here.
    passed_ = std::exchange(announced_, std::nullopt);
    members_.apply({stretch.members.first, passed_->members.first}, step);
    members_.apply({passed_->members.end, stretch.members.end}, step);
}

void weave_cursor::finish() {
    finished_ = true;
    activate_announced();
    for (const open_run &run : runs_) {
        fault(run.line,
              "the file ends " + lines_text(run.remaining) +
                  " before the end of the run that this record opens",
              all());
    }
    for (const auto &[key, deletion] : deletions_) {
        const std::uint64_t missing = std::get<1>(key) - members_.lines_of(deletion.before);
        fault(deletion.line,
              "deletes " + lines_text(deletion.lines) + ", but only " +
                  std::to_string(deletion.lines - std::min(missing, deletion.lines)) +
                  " of them follow",
              all());
    }
}

bool weave_cursor::next(weave_stretch *out) {
    records_.clear();
    passed_.reset();
    while (!finished_) {
        end_deletions();
        if (at_ == end_) {
            finish();
            break;
        }
        const std::string_view line =
            *at_ == format::record_mark ? line_here() : std::string_view();
        const char kind = format::kind_of(line);
        if (!holds_text(kind)) {
            take_record(line, kind);
            pass_line(line);
        } else if (runs_.empty()) {
            pass_stray_lines();
        } else {
            take_stretch(out);
            return true;
        }
    }
    return false;
}

void weave_cursor::holders(const weave_stretch &stretch, position_range within,
                           std::vector<position_range> *out) const {
    const position_range members = common_part(stretch.members, within);
    if (!passed_) {
        if (!members.empty()) {
            members_.uncovered(members, out);
        }
        return;
    }
    for (const position_range part : {common_part(members, {0, passed_->members.first}),
                                      common_part(members, {passed_->members.end, UINT32_MAX})}) {
        if (!part.empty()) {
            out->push_back(part);
        }
    }
}

void weave_cursor::counting_deletions(const weave_stretch &stretch,
                                      std::vector<std::size_t> *records) const {
    if (passed_) {
        records->push_back(passed_->record);
    }
    for (const auto &[key, deletion] : deletions_) {
        const position_range before{deletion.before, deletion.before + 1};
        if (stretch.members.holds(before) && !members_.is_covered(deletion.before)) {
            records->push_back(deletion.record);
        }
    }
}

}  // namespace norvik
