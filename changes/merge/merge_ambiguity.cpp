// An edit stands in doubt when another smallest edit of the other contributor pairs the lines
// around it otherwise. Only where these lines do stand elsewhere within reach is the table of all
// smallest edits made (shortest_paths.h): O(lines in reach x lines changed there) for such an edit,
// a look at some hundred lines for any other.
#include "merge_ambiguity.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "edit_slide.h"
#include "shortest_paths.h"

namespace norvik {

namespace {

// Lines before and behind an edit in which the others' edits are looked at; the second where these
// are too large for the first.
constexpr std::int32_t reaches[] = {256, 32};

// So many distinct lines stay where they are.
constexpr int certain_lines = 8;

enum class doubt { none, found, too_large };

std::int32_t lines_removed(const edit &e) {
    return e.base_end - e.base_first;
}

std::int32_t lines_inserted(const edit &e) {
    return e.file_end - e.file_first;
}

// Lines that edits[i] may go up before it meets the edit before it.
std::int32_t lines_up(const text_lines &base, const text_lines &file,
                      const std::vector<edit> &edits, std::size_t i) {
    const std::int32_t limit = i == 0 ? 0 : edits[i - 1].base_end;
    edit e = edits[i];
    while (e.base_first > limit && slide_up_one(base, file, &e)) {
    }
    return edits[i].base_first - e.base_first;
}

// Looks at one contributor's edit after the other, by base line, beside another's edits.
class doubt_finder {
public:
    doubt_finder(const merge_input &in, std::int32_t other)
        : in_(in),
          file_(*in.files[static_cast<std::size_t>(other)]),
          edits_(in.changes[static_cast<std::size_t>(other)].edits),
          paths_(*in.base, in.equality) {}

    void look(const place_edit &source, std::vector<base_range> *ranges);

private:
    void reach_up(std::int32_t reach);
    void reach_down(std::int32_t reach);
    void set_stretch(std::int32_t reach);
    std::int32_t lines_up_from(std::size_t i);
    doubt search();
    bool has_room() const;
    bool stands_at(const text_lines &text, std::int32_t first, std::int32_t end,
                   std::int32_t line) const;
    std::string with_edit(std::int32_t diagonal, std::int32_t first, std::int32_t end) const;
    bool same_result(std::int32_t diagonal) const;
    base_range doubtful() const;

    const merge_input &in_;
    const text_lines &file_;
    const std::vector<edit> &edits_;
    shortest_paths paths_;

    // The edit that is looked at, and its text.
    edit edit_;
    const text_lines *own_ = nullptr;
    bool both_ = false;          // the other has it too
    std::size_t next_ = 0;       // the other's first edit that does not end before it
    std::int32_t diagonal_ = 0;  // of the other where it stands: its line there less the base's
    edit stretch_;               // what is looked at around it, with the other's edits
    std::size_t first_ = 0;      // .. first_ to end_ - 1
    std::size_t end_ = 0;

    std::int32_t found_to_ = 0;  // the end of the ranges found so far
    // The other's edit whose way up was looked at last, and that way: many edits can lie along it.
    std::size_t slid_ = SIZE_MAX;
    std::int32_t slid_lines_ = 0;
};

// What has been met on the way from an edit: lines that say something of their own, those that are
// much alike once, less the lines of edits.
class passed_lines {
public:
    void add(const edit &e) { left_ += lines_removed(e) + lines_inserted(e); }
    void add(std::string_view line) {
        const std::size_t size = line.size();
        const auto from_end = [&](std::size_t i) {
            return static_cast<unsigned char>(line[size - std::min(size, i)]);
        };
        const auto middle = static_cast<unsigned char>(line[size / 2]);
        const std::size_t mark = (size * 5 + middle + from_end(2) * 7U + from_end(3) * 11U) % 64;
        if (middle >= '0' && middle != '{' && middle != '}' && (marks_ >> mark & 1) == 0) {
            marks_ |= std::uint64_t{1} << mark;
            left_--;
        }
    }
    bool enough() const { return left_ <= 0; }

private:
    std::uint64_t marks_ = 0;
    std::int32_t left_ = certain_lines;
};

void doubt_finder::reach_up(std::int32_t reach) {
    passed_lines passed;
    std::int32_t line = edit_.base_first;
    const std::int32_t last = std::max(0, line - reach);
    first_ = next_;
    if (first_ == 0 || edits_[first_ - 1].base_end < last) {
        stretch_.base_first = last;
        return;
    }
    while (line > last && !passed.enough()) {
        if (first_ > 0 && edits_[first_ - 1].base_end == line) {
            passed.add(edits_[--first_]);
            line = edits_[first_].base_first;
        } else {
            passed.add(in_.base->line(--line));
        }
    }
    stretch_.base_first = line;
}

void doubt_finder::reach_down(std::int32_t reach) {
    passed_lines passed;
    std::int32_t line = edit_.base_end;
    const std::int32_t last = line + std::min(in_.base->count() - line, reach);
    end_ = next_;
    if (end_ == edits_.size() || edits_[end_].base_first > last) {
        stretch_.base_end = last;
        return;
    }
    while (true) {
        if (end_ < edits_.size() && edits_[end_].base_first <= line) {
            passed.add(edits_[end_]);
            line = edits_[end_++].base_end;
        } else if (line < last && !passed.enough()) {
            passed.add(in_.base->line(line++));
        } else {
            break;
        }
    }
    stretch_.base_end = line;
}

std::int32_t doubt_finder::lines_up_from(std::size_t i) {
    if (slid_ != i) {
        slid_lines_ = lines_up(*in_.base, file_, edits_, i);
        slid_ = i;
    }
    return slid_lines_;
}

// Up and down to where so many distinct lines stand that no smallest edit leaves them for what the
// edits before them may save, but for `reach` lines at most; through no edit of the other.
void doubt_finder::set_stretch(std::int32_t reach) {
    reach_up(reach);
    reach_down(reach);
    if (end_ == next_ && end_ < edits_.size() &&
        edits_[end_].base_first - lines_up_from(end_) <= edit_.base_end) {
        stretch_.base_end = edits_[end_++].base_end;
    }
    const auto diagonal_before = [&](std::size_t i) {
        return i == 0 ? 0 : edits_[i - 1].file_end - edits_[i - 1].base_end;
    };
    stretch_.file_first = stretch_.base_first + diagonal_before(first_);
    stretch_.file_end = stretch_.base_end + diagonal_before(end_);
}

// Whether lines first .. end - 1 of `text` stand in the other's stretch, from `line` on.
bool doubt_finder::stands_at(const text_lines &text, std::int32_t first, std::int32_t end,
                             std::int32_t line) const {
    if (line < stretch_.file_first || line + (end - first) > stretch_.file_end) {
        return false;
    }
    for (std::int32_t i = first; i < end; i++) {
        if (!same_line(text.line(i), file_.line(line + (i - first)), in_.equality)) {
            return false;
        }
    }
    return true;
}

// The other's lines first .. end - 1 with the edit on the diagonal.
std::string doubt_finder::with_edit(std::int32_t diagonal, std::int32_t first,
                                    std::int32_t end) const {
    return std::string(file_.range(first, edit_.base_first + diagonal))
        .append(own_->range(edit_.file_first, edit_.file_end))
        .append(file_.range(edit_.base_end + diagonal, end));
}

bool doubt_finder::same_result(std::int32_t diagonal) const {
    const std::int32_t first = edit_.base_first + std::min(diagonal, diagonal_);
    const std::int32_t end = edit_.base_end + std::max(diagonal, diagonal_);
    return with_edit(diagonal, first, end) == with_edit(diagonal_, first, end);
}

// Whether the other's edits between the lines that it pairs beyond doubt leave room for this one: a
// changed row is one edit, and not one row less and another one more.
bool doubt_finder::has_room() const {
    const base_range range = doubtful();
    std::int32_t removed = 0;
    std::int32_t inserted = 0;
    for (std::size_t i = first_; i < end_; i++) {
        if (edits_[i].base_first >= range.first && edits_[i].base_end <= range.end) {
            const std::int32_t more = lines_inserted(edits_[i]) - lines_removed(edits_[i]);
            removed += std::max(0, -more);
            inserted += std::max(0, more);
        }
    }
    const std::int32_t more = lines_inserted(edit_) - lines_removed(edit_);
    return removed >= -more && inserted >= more;
}

doubt doubt_finder::search() {
    std::int32_t removed = 0;
    std::int32_t inserted = 0;
    for (std::size_t i = first_; i < end_; i++) {
        removed += lines_removed(edits_[i]);
        inserted += lines_inserted(edits_[i]);
    }
    const bool inserts = edit_.base_first == edit_.base_end;
    const std::int32_t clear = both_ && inserts ? lines_inserted(edit_) : 1;
    const std::int32_t before = std::min(clear, edit_.base_first - stretch_.base_first);
    const std::int32_t behind = std::min(1, stretch_.base_end - edit_.base_end);
    if (both_ && inserts && before < clear) {
        return doubt::none;
    }
    const std::int32_t first = edit_.base_first - before;
    const std::int32_t end = edit_.base_end + behind;
    const std::int32_t own_first = edit_.file_first - before;
    const std::int32_t own_end = edit_.file_end + behind;
    bool taken = false;
    const auto passes = [&](std::int32_t line, std::int32_t lines, std::int32_t steps) {
        taken = taken || paths_.take(file_, stretch_, removed, inserted);
        return taken && paths_.may_pass({first, end, line, line + lines}, steps);
    };
    const std::int32_t shift = stretch_.file_first - stretch_.base_first;
    for (std::int32_t d = shift - removed; d <= shift + inserted; d++) {
        const bool elsewhere = d != diagonal_ && stands_at(*in_.base, first, end, first + d) &&
                               (both_ || !same_result(d));
        const bool too = !both_ && stands_at(*own_, own_first, own_end, first + d);
        if ((elsewhere && passes(first + d, end - first, 0)) ||
            (too &&
             passes(first + d, own_end - own_first, lines_removed(edit_) + lines_inserted(edit_)) &&
             has_room())) {
            return doubt::found;
        }
        if ((elsewhere || too) && !taken) {
            return doubt::too_large;
        }
    }
    return doubt::none;
}

// From the edit up and down to the lines that all smallest edits of the other pair alike: the
// edits between them.
base_range doubt_finder::doubtful() const {
    base_range unsure{edit_.base_first, edit_.base_end};
    while (unsure.first > stretch_.base_first && !paths_.is_certain(unsure.first - 1)) {
        unsure.first--;
    }
    while (unsure.end < stretch_.base_end && !paths_.is_certain(unsure.end)) {
        unsure.end++;
    }
    base_range range{edit_.base_first, edit_.base_end};
    for (std::size_t i = first_; i < end_; i++) {
        if (edits_[i].base_first >= unsure.first && edits_[i].base_end <= unsure.end) {
            range.first = std::min(range.first, edits_[i].base_first);
            range.end = std::max(range.end, edits_[i].base_end);
        }
    }
    return range;
}

void doubt_finder::look(const place_edit &source, std::vector<base_range> *ranges) {
    edit_ = edit_at(in_, source);
    own_ = in_.files[static_cast<std::size_t>(source.contributor)];
    while (next_ < edits_.size() && edits_[next_].base_end < edit_.base_first) {
        next_++;
    }
    diagonal_ = next_ == 0 ? 0 : edits_[next_ - 1].file_end - edits_[next_ - 1].base_end;
    both_ = false;
    if (next_ < edits_.size() && edits_[next_].base_first <= edit_.base_end) {
        const edit &e = edits_[next_];
        both_ =
            e.base_first == edit_.base_first && e.base_end == edit_.base_end &&
            file_.range(e.file_first, e.file_end) == own_->range(edit_.file_first, edit_.file_end);
        if (!both_) {
            return;
        }
    }
    for (const std::int32_t reach : reaches) {
        set_stretch(reach);
        // Edits come by base line: what could be found here lies within what has been.
        const bool known = first_ == next_ && stretch_.base_end <= found_to_;
        if (first_ == end_ || known) {
            return;
        }
        const doubt result = search();
        if (result == doubt::found) {
            ranges->push_back(doubtful());
            found_to_ = std::max(found_to_, ranges->back().end);
        }
        if (result != doubt::too_large) {
            return;
        }
    }
}

}  // namespace

std::vector<base_range> ambiguous_ranges(const merge_input &in,
                                         const std::vector<place_edit> &order) {
    std::vector<base_range> ranges;
    for (std::size_t k = 0; k < in.files.size(); k++) {
        if (in.same_as[k] != static_cast<std::int32_t>(k) || in.changes[k].edits.empty()) {
            continue;
        }
        doubt_finder finder(in, static_cast<std::int32_t>(k));
        for (const place_edit &source : order) {
            const std::int32_t text = in.same_as[static_cast<std::size_t>(source.contributor)];
            if (text == source.contributor && text != in.same_as[k]) {
                finder.look(source, &ranges);
            }
        }
    }
    return ranges;
}

}  // namespace norvik
