// The ordered stream of differences between the base and the other files.
//
// The base middle is walked block by block, a block being one run in the maps of all files at once.
// For each block come first the insertions before it, of all files, then one difference of each
// file that deals with the block. A run of a map is a stretch of unmatched lines, or of lines whose
// partners follow each other; where a run ends does not depend on where in it one starts, so every
// end is found once and the whole stream is linear in the lines.
#include <algorithm>

#include "tdm_session/session.h"

namespace tdm {
namespace {

constexpr uint32_t bit(block_kind kind) {
    return uint32_t{1} << kind;
}

constexpr uint32_t removing =
    bit(tdm_diff_change) | bit(tdm_diff_delete) | bit(tdm_diff_moved_delete);
constexpr int32_t far_away = 47;  // a partner beyond it is far when the other one is near
constexpr int32_t near_by = 24;
constexpr int look_ahead = 3;  // runs counted on each side of a move

/// A match map with the ends of its next runs.
struct run_map {
    const int32_t *map;
    uint64_t count;
    run_window *window;
    uint64_t from;  // the stream's place in it: nothing before it is asked for again
};

run_map base_runs(tdm_session *s, int k) {
    return {s->base_map[k], s->base_line_count, &s->base_runs[k],
            static_cast<uint64_t>(s->diff_pos[0])};
}

run_map file_runs(tdm_session *s, int k) {
    return {s->file_map[k], s->file_line_count[k], &s->file_runs[k],
            static_cast<uint64_t>(s->diff_pos[k])};
}

uint64_t measure_run(const run_map &m, uint64_t start) {
    uint64_t end = start + 1;
    if (m.map[start] >= 0) {
        while (end < m.count && m.map[end] >= 0 && m.map[end] == m.map[end - 1] + 1) {
            ++end;
        }
    } else {
        while (end < m.count && m.map[end] < 0) {
            ++end;
        }
    }
    return end;
}

/// The end of the run that line `at` is in; `at` is not before the stream's place.
uint64_t run_end(const run_map &m, uint64_t at) {
    run_window &w = *m.window;
    const uint32_t *const kept = std::upper_bound(w.ends, w.ends + w.count, m.from);
    std::move(kept, static_cast<const uint32_t *>(w.ends + w.count), w.ends);
    w.count -= static_cast<uint32_t>(kept - w.ends);
    for (uint32_t i = 0; i < w.count; ++i) {
        if (w.ends[i] > at) {
            return w.ends[i];
        }
    }
    uint64_t end = w.count == 0 ? m.from : w.ends[w.count - 1];
    while (end <= at) {
        end = measure_run(m, end);
        if (w.count < std::size(w.ends)) {
            w.ends[w.count++] = static_cast<uint32_t>(end);
        }
    }
    return end;
}

/// Lines of the run from `start` to its end, at most `limit`.
uint64_t gather_block(const run_map &m, uint64_t start, uint64_t limit) {
    return start >= m.count ? 0 : std::min(run_end(m, start) - start, std::max<uint64_t>(limit, 1));
}

bool base_used_up(const tdm_session *s) {
    return static_cast<uint64_t>(s->diff_pos[0]) >= s->base_line_count;
}

void forget_kinds(tdm_session *s) {
    std::fill_n(s->diff_kind, s->file_count, kind_not_known);
}

/// Measures the base block at the base's place. Once the base is used up the files keep their
/// current blocks.
void gather_base_block(tdm_session *s) {
    forget_kinds(s);
    s->diff_block_len[0] = 0;
    if (base_used_up(s)) {
        return;
    }
    const auto start = static_cast<uint64_t>(s->diff_pos[0]);
    uint64_t length = s->base_line_count - start;
    for (int k = 1; k < s->file_count; ++k) {
        s->diff_done[k] = 0;
        s->diff_block_len[k] = 0;
        length = gather_block(base_runs(s, k), start, length);
    }
    s->diff_block_len[0] = length;
}

void gather_file_block(tdm_session *s, int k) {
    const auto start = static_cast<uint64_t>(s->diff_pos[k]);
    if (s->diff_block_len[k] != 0 || start >= s->file_line_count[k]) {
        return;
    }
    // A block that continues the base block's own text goes no further than the base block.
    const bool aligned = s->file_map[k][start] == s->diff_pos[0];
    const uint64_t limit = aligned ? s->diff_block_len[0] : s->file_line_count[k] - start;
    s->diff_block_len[k] = gather_block(file_runs(s, k), start, limit);
}

/// One and the matched runs from `start` on, up to `stop` or three runs further.
int count_matched_runs(const run_map &m, uint64_t start, uint64_t stop) {
    int count = 1;
    uint64_t at = start;
    for (int i = 0; i < look_ahead && at != stop && at < m.count; ++i) {
        count += m.map[at] >= 0 ? 1 : 0;
        at = run_end(m, at);
    }
    return count;
}

/// The base block's text stands further on in file k, and file k's block further on in the base:
/// one of the two moved. The nearer one, or the one that fewer blocks are crossed by, did.
block_kind classify_move(tdm_session *s, int k, int32_t base_partner, int32_t file_partner) {
    const int32_t base_distance = file_partner - s->diff_pos[0];
    const int32_t file_distance = base_partner - s->diff_pos[k];
    if (base_distance > far_away && file_distance <= near_by) {
        return tdm_diff_moved_insert;
    }
    if (base_distance <= near_by && file_distance > far_away) {
        return tdm_diff_moved_delete;
    }
    const auto block_end = [s](int f) {
        return static_cast<uint64_t>(s->diff_pos[f]) + s->diff_block_len[f];
    };
    const int base_count =
        count_matched_runs(base_runs(s, k), block_end(0), static_cast<uint64_t>(file_partner));
    const int file_count =
        count_matched_runs(file_runs(s, k), block_end(k), static_cast<uint64_t>(base_partner));
    if (file_count != base_count) {
        return file_count < base_count ? tdm_diff_moved_insert : tdm_diff_moved_delete;
    }
    return base_distance <= file_distance ? tdm_diff_moved_delete : tdm_diff_moved_insert;
}

/// How the current base block and file k's current block relate; one of them has lines.
block_kind classify_blocks(tdm_session *s, int k) {
    const bool base_empty = s->diff_block_len[0] == 0;
    const bool file_empty = s->diff_block_len[k] == 0;
    // Where the base block stands in file k, and file k's block in the base.
    const int32_t base_partner = base_empty ? line_absent : s->base_map[k][s->diff_pos[0]];
    const int32_t file_partner = file_empty ? line_absent : s->file_map[k][s->diff_pos[k]];
    if (base_empty) {
        return file_partner < 0 ? tdm_diff_insert : tdm_diff_moved_insert;
    }
    if (file_empty) {
        return base_partner < 0 ? tdm_diff_delete : tdm_diff_moved_delete;
    }
    if (base_partner < 0) {
        return file_partner < 0 ? tdm_diff_change : tdm_diff_delete;
    }
    if (file_partner < 0) {
        return tdm_diff_insert;
    }
    if (base_partner == s->diff_pos[k]) {
        return tdm_diff_unchanged;
    }
    if (base_partner < s->diff_pos[k]) {
        return tdm_diff_moved_delete;
    }
    if (file_partner < s->diff_pos[0]) {
        return tdm_diff_moved_insert;
    }
    return classify_move(s, k, base_partner, file_partner);
}

/// The kind of file k's next difference, kind_not_known when it has none for now. It is worked out
/// once and holds until the base or the file moves on.
block_kind next_kind(tdm_session *s, int k) {
    if (!base_used_up(s) && s->diff_done[k] != 0) {
        return kind_not_known;
    }
    if (s->diff_kind[k] == kind_not_known) {
        gather_file_block(s, k);
        if (s->diff_block_len[k] == 0 && s->diff_block_len[0] == 0) {
            s->diff_done[k] = 1;
            return kind_not_known;
        }
        s->diff_kind[k] = classify_blocks(s, k);
    }
    return s->diff_kind[k];
}

/// Lines first..last of a block of `length` lines from middle line `start` on, in the whole file;
/// no lines are the place behind the line before.
void set_range(const tdm_session *s, int32_t start, uint64_t length, int32_t *first,
               int32_t *last) {
    const auto before = static_cast<int32_t>(s->head.line_count) + start;
    *first = length == 0 ? before : before + 1;
    *last = before + static_cast<int32_t>(length);
}

void fill_in_diff(const tdm_session *s, int k, block_kind what, diff_block *block) {
    const bool adds = what == tdm_diff_insert || what == tdm_diff_moved_insert;
    const bool removes = what == tdm_diff_delete || what == tdm_diff_moved_delete;
    const uint64_t base_length = adds ? 0 : s->diff_block_len[0];
    const uint64_t other_length = removes ? 0 : s->diff_block_len[k];
    *block = {};
    block->kind = what;
    block->file_index = static_cast<uint32_t>(k);
    set_range(s, s->diff_pos[0], base_length, &block->base_first, &block->base_last);
    set_range(s, s->diff_pos[k], other_length, &block->other_first, &block->other_last);
    if (what == tdm_diff_moved_insert) {
        set_range(s, s->file_map[k][s->diff_pos[k]], other_length, &block->moved_first,
                  &block->moved_last);
    } else if (what == tdm_diff_moved_delete) {
        set_range(s, s->base_map[k][s->diff_pos[0]], base_length, &block->moved_first,
                  &block->moved_last);
    }
}

/// The first file whose next difference is of a kind in `mask`; 0 without one.
int get_next_diff_kind(tdm_session *s, uint32_t mask, diff_block *block) {
    for (int k = 1; k < s->file_count; ++k) {
        const block_kind what = next_kind(s, k);
        if (what != kind_not_known && (bit(what) & mask) != 0) {
            fill_in_diff(s, k, what, block);
            return k;
        }
    }
    return 0;
}

bool all_files_done(const tdm_session *s) {
    for (int k = 1; k < s->file_count; ++k) {
        if (s->diff_done[k] == 0) {
            return false;
        }
    }
    return true;
}

void advance_base(tdm_session *s) {
    if (!base_used_up(s) && all_files_done(s)) {
        s->diff_pos[0] += static_cast<int32_t>(s->diff_block_len[0]);
        gather_base_block(s);
    }
    if (base_used_up(s)) {
        s->diff_block_len[0] = 0;
    }
}

/// Insertions before the base block come first, moved ones first behind a moved one; then what
/// removes the block, then what keeps it.
int choose_next(tdm_session *s, diff_block *block) {
    const block_kind preferred =
        s->diff_last_moved_insert != 0 ? tdm_diff_moved_insert : tdm_diff_insert;
    const block_kind second =
        preferred == tdm_diff_insert ? tdm_diff_moved_insert : tdm_diff_insert;
    for (const block_kind what : {preferred, second}) {
        if (const int k = get_next_diff_kind(s, bit(what), block)) {
            s->diff_last_moved_insert = what == tdm_diff_moved_insert ? 1 : 0;
            return k;
        }
    }
    s->diff_last_moved_insert = 0;
    if (const int k = get_next_diff_kind(s, removing, block)) {
        return k;
    }
    return get_next_diff_kind(s, bit(tdm_diff_unchanged), block);
}

void consume(tdm_session *s, int k, uint32_t what) {
    const bool adds = what == tdm_diff_insert || what == tdm_diff_moved_insert;
    const bool removes = what == tdm_diff_delete || what == tdm_diff_moved_delete;
    if (!adds) {
        s->diff_done[k] = 1;
    }
    if (!removes) {
        s->diff_pos[k] += static_cast<int32_t>(s->diff_block_len[k]);
        s->diff_block_len[k] = 0;
    }
    s->diff_kind[k] = kind_not_known;
}

int get_next_diff(tdm_session *s, uint32_t *end_of_stream, diff_block *block) {
    *end_of_stream = 0;
    advance_base(s);
    const int k = choose_next(s, block);
    if (k == 0) {
        *end_of_stream = 1;
    } else {
        consume(s, k, block->kind);
    }
    return 0;
}

void init_diff_stream(tdm_session *s) {
    for (int k = 0; k < s->file_count; ++k) {
        s->diff_pos[k] = 0;
        s->diff_block_len[k] = 0;
        s->diff_done[k] = 1;
        s->base_runs[k] = {};
        s->file_runs[k] = {};
    }
    forget_kinds(s);
}

}  // namespace
}  // namespace tdm

int tdm_init_diff_stream(tdm_session *s, uint64_t *head_lines, uint64_t *tail_lines) {
    if (s == nullptr || head_lines == nullptr || tail_lines == nullptr) {
        return 1;
    }
    tdm::init_diff_stream(s);
    *head_lines = s->head.line_count;
    *tail_lines = s->tail.line_count;
    return 0;
}

int tdm_get_next_diff(tdm_session *s, uint32_t *end_of_stream, diff_block *block) {
    // Files that were not compared have no maps to walk.
    if (s == nullptr || end_of_stream == nullptr || block == nullptr ||
        (s->state != tdm::session_state::compared && s->file_count > 1)) {
        return 1;
    }
    return tdm::get_next_diff(s, end_of_stream, block);
}

int tdm_get_unchanged_bytes(tdm_session *s, uint32_t file_index, uint64_t *head_bytes,
                            uint64_t *tail_bytes) {
    if (s == nullptr || file_index >= s->file_count || head_bytes == nullptr ||
        tail_bytes == nullptr) {
        return 1;
    }
    *head_bytes = s->head.bytes[file_index];
    *tail_bytes = s->tail.bytes[file_index];
    return 0;
}

int tdm_is_same_as_base(tdm_session *s, int file_index, uint32_t *flag) {
    if (s == nullptr || flag == nullptr || file_index < 0 || file_index >= s->file_count) {
        return 1;
    }
    *flag = s->files[file_index].same_as_base;
    return 0;
}
