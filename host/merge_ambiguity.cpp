#include "merge_ambiguity.h"

#include <algorithm>
#include <string>

#include "edit_slide.h"

namespace host {

namespace {

std::string_view new_lines(const merge_input &in, const place_edit &source) {
    const edit &e = edit_at(in, source);
    return in.files[static_cast<size_t>(source.contributor)]->range(e.file_first, e.file_end);
}

// Lines that the edit may go up before it meets its contributor's edit before it.
int32_t lines_up(const merge_input &in, const place_edit &source) {
    const edit &last = edit_at(in, source);
    const int32_t limit =
        source.edit == 0 ? 0 : edit_at(in, {source.contributor, source.edit - 1}).base_end;
    edit e = last;
    while (e.base_first > limit &&
           slide_up_one(*in.base, *in.files[static_cast<size_t>(source.contributor)], &e)) {
    }
    return last.base_first - e.base_first;
}

int32_t size_of(const edit &e) {
    return std::max(e.base_end - e.base_first, e.file_end - e.file_first);
}

bool same_text(const merge_input &in, const place_edit &a, const place_edit &b) {
    return in.same_as[static_cast<size_t>(a.contributor)] ==
           in.same_as[static_cast<size_t>(b.contributor)];
}

bool same_edit(const merge_input &in, const place_edit &a, const place_edit &b) {
    const edit &x = edit_at(in, a);
    const edit &y = edit_at(in, b);
    return x.base_first == y.base_first && x.base_end == y.base_end &&
           new_lines(in, a) == new_lines(in, b);
}

// Whether the merged text is the same with `source`'s insertion or deletion before or behind the
// other's edit, which it may pass.
bool may_pass(const merge_input &in, const place_edit &source, const place_edit &other) {
    const edit &e = edit_at(in, source);
    const edit &f = edit_at(in, other);
    const std::string_view text = new_lines(in, other);
    std::string_view before;
    std::string_view behind;
    if (e.base_first == e.base_end) {
        const text_lines &file = *in.files[static_cast<size_t>(source.contributor)];
        const int32_t up = e.base_first - f.base_first;
        const int32_t down = e.base_first - f.base_end;
        before = file.range(e.file_first - up, e.file_end - up);
        behind = file.range(e.file_first - down, e.file_end - down);
        return std::string(before).append(text) == std::string(text).append(behind);
    }
    const int32_t count = e.base_end - e.base_first;
    before = in.base->range(f.base_first - count, f.base_first);
    behind = in.base->range(f.base_end, f.base_end + count);
    return std::string(text).append(behind) == std::string(before).append(text);
}

// The nearest edit before `order[at]` that its own may stand before as well as behind, with
// another result; null for none.
const place_edit *harmed(const merge_input &in, const std::vector<place_edit> &order, size_t at,
                         int32_t up) {
    const place_edit &source = order[at];
    const edit &e = edit_at(in, source);
    // A deletion stands before another edit only with all of its lines.
    const int32_t least = e.base_first - up + (e.base_end - e.base_first);
    while (at > 0) {
        const place_edit &other = order[--at];
        const edit &f = edit_at(in, other);
        if (f.base_first < least) {
            return nullptr;
        }
        if (!same_text(in, source, other) && f.base_end <= e.base_first &&
            !same_edit(in, source, other) && !may_pass(in, source, other)) {
            return &other;
        }
    }
    return nullptr;
}

// Whether another contributor did the same to lines that repeat.
bool may_be_two(const merge_input &in, const std::vector<place_edit> &order, size_t at,
                int32_t up) {
    const place_edit &source = order[at];
    const edit &e = edit_at(in, source);
    if (up < size_of(e)) {
        return false;
    }
    for (size_t i = at; i > 0 && edit_at(in, order[i - 1]).base_first == e.base_first; i--) {
        if (!same_text(in, source, order[i - 1]) && same_edit(in, source, order[i - 1])) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::vector<base_range> ambiguous_ranges(const merge_input &in,
                                         const std::vector<place_edit> &order) {
    std::vector<base_range> ranges;
    for (size_t i = 1; i < order.size(); i++) {
        const edit &e = edit_at(in, order[i]);
        const int32_t up = lines_up(in, order[i]);
        if (up == 0) {
            continue;
        }
        if (const place_edit *other = harmed(in, order, i, up)) {
            ranges.push_back({edit_at(in, *other).base_first, e.base_end});
        } else if (may_be_two(in, order, i, up)) {
            ranges.push_back({e.base_first, e.base_end});
        }
    }
    return ranges;
}

}  // namespace host
