// Collecting the blocks of the difference stream into groups.
//
// The stream's order gives one group for the insertions before a base block and one for the blocks
// that deal with it. A second insertion of one contributor at the same place starts a group anew.
#include <algorithm>

#include "tdm_session/merge_report.h"

namespace tdm {
namespace {

uint64_t base_line(int32_t line) {
    return static_cast<uint64_t>(int64_t{line});
}

/// The pending insertion stands right before a line that `b` changes.
bool change_follows_insertion(const merge_report &r, const diff_block &b) {
    return r.pending_is_insert != 0 && b.kind == tdm_diff_change &&
           base_line(b.base_first) == r.group_end + 1;
}

/// `b` inserts right behind the pending blocks, and not every other contributor left them alone.
bool insertion_follows_change(const merge_report &r, const diff_block &b) {
    if (!is_insertion(b) || r.pending_count == 0 || r.pending_is_insert != 0 ||
        r.group_end != base_line(b.base_first)) {
        return false;
    }
    for (int k = 1; k < r.file_count; ++k) {
        if (static_cast<uint32_t>(k) != b.file_index && r.pending[k].kind != tdm_diff_unchanged) {
            return true;
        }
    }
    return false;
}

/// Whether `b` has no place in the pending group at its own base line.
bool starts_group(const merge_report &r, const diff_block &b) {
    const bool other_sort = r.pending_count != 0 && is_insertion(b) != (r.pending_is_insert != 0);
    return other_sort || r.pending[b.file_index].kind != empty_slot;
}

int queue_diff(merge_report *r, const diff_block &b) {
    // Both tests look at the group that the block meets, before that group is decided.
    if (change_follows_insertion(*r, b)) {
        r->adjacent = 1;
    }
    const bool new_group_adjacent = insertion_follows_change(*r, b);
    const bool new_place = base_line(b.base_first) != r->group_start;
    if ((new_place || starts_group(*r, b)) && decide_now(r) != 0) {
        return 1;
    }
    if (new_place) {
        r->group_start = r->group_end = base_line(b.base_first);
    }
    r->pending[b.file_index] = b;
    ++r->pending_count;
    r->pending_is_insert = is_insertion(b) ? 1 : 0;
    r->group_end = std::max(r->group_end, base_line(b.base_last));
    if (new_group_adjacent) {
        r->adjacent = 1;
    }
    return 0;
}

}  // namespace
}  // namespace tdm

int tdm_merge_queue_diff(merge_report *r, const diff_block *b) {
    if (r == nullptr || b == nullptr || b->file_index == 0 ||
        b->file_index >= static_cast<uint32_t>(r->file_count) || b->kind == tdm::empty_slot) {
        return 1;
    }
    return tdm::queue_diff(r, *b);
}
