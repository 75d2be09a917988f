// Pairing the middle lines of two files.
//
// Lines that are unique in both files are paired outright and their pairs grow over equal
// neighbours, forwards and backwards (P. Heckel, "A technique for isolating differences between
// files", CACM 1978). A bounded search of our own then pairs what is left shortly after a pair.
// Pairs may cross: text that moved keeps its pairs. Cost: linear in the lines; the search looks at
// 51 candidates a line at most, each with a run of at most 49 lines.
#include <algorithm>
#include <cstdio>

#include "messages/messages.h"
#include "tdm_session/session.h"

namespace tdm {
namespace {

constexpr int32_t search_range = 50;    // lines after the last pair, in both files
constexpr int32_t accepted_offset = 6;  // equal offsets below it need no run of equal lines

/// One side of the matching.
struct side {
    const line_class *const *lines;
    int32_t count;
    int32_t *map;

    const line_class *line(int32_t n) const { return n < count ? lines[n] : nullptr; }
};

struct matcher {
    side a, b;
    int file_a, file_b;

    void pair(int32_t line_a, int32_t line_b) const {
        a.map[line_a] = line_b;
        b.map[line_b] = line_a;
    }
    bool can_pair(int32_t line_a, int32_t line_b) const {
        return a.map[line_a] == line_unpaired && b.map[line_b] == line_unpaired &&
               a.lines[line_a] == b.lines[line_b];
    }
};

void classify(const side &own, int other_file) {
    for (int32_t n = 0; n < own.count; ++n) {
        const bool absent = first_lines(own.lines[n])[other_file] == no_line;
        own.map[n] = absent ? line_absent : line_unpaired;
    }
}

void pair_unique_lines(const matcher &m) {
    const uint32_t dup_bits = uint32_t{1} << m.file_a | uint32_t{1} << m.file_b;
    for (int32_t n = 0; n < m.a.count; ++n) {
        if (m.a.map[n] == line_absent) {
            continue;
        }
        const line_class *const c = m.a.lines[n];
        if ((c->dup_mask & dup_bits) == 0) {
            m.pair(n, static_cast<int32_t>(first_lines(c)[m.file_b]));
            continue;
        }
        const int32_t previous = n > 0 ? m.a.map[n - 1] : line_absent;
        if (previous >= 0 && previous < m.b.count - 1 && m.b.lines[previous + 1] == c) {
            m.pair(n, previous + 1);
        }
    }
}

void grow_backwards(const matcher &m) {
    for (int32_t n = m.a.count - 2; n >= 0; --n) {
        const int32_t next = m.a.map[n + 1];
        if (next >= 1 && m.can_pair(n, next - 1)) {
            m.pair(n, next - 1);
        }
    }
}

/// Whether `length` lines from the two places on are equal. Past their ends files are equal.
bool equal_run(const matcher &m, int32_t line_a, int32_t line_b, int32_t length) {
    for (int32_t t = 1; t < length; ++t) {
        if (m.a.line(line_a + t) != m.b.line(line_b + t)) {
            return false;
        }
    }
    return true;
}

/// The first partner for line `a` at or after `pair_b` that stands close enough or begins a run of
/// equal lines as long as it is away; -1 without one. It may have a partner already.
int32_t find_partner(const matcher &m, int32_t a, int32_t offset_a, int32_t pair_b) {
    const line_class *const wanted = m.a.lines[a];
    const auto first = static_cast<int32_t>(first_lines(wanted)[m.file_b]);
    const int32_t last = std::min(pair_b + search_range, m.b.count - 1);
    for (int32_t b = std::max(pair_b, first); b <= last; ++b) {
        if (m.b.lines[b] != wanted) {
            continue;
        }
        const int32_t offset_b = b - pair_b;
        if ((offset_a == offset_b && offset_a < accepted_offset) ||
            equal_run(m, a, b, std::max(offset_a, offset_b))) {
            return b;
        }
    }
    return -1;
}

void grow_around(const matcher &m, int32_t a, int32_t b) {
    for (int32_t i = a, j = b; i < m.a.count && j < m.b.count && m.can_pair(i, j); ++i, ++j) {
        m.pair(i, j);
    }
    for (int32_t i = a - 1, j = b - 1; i >= 0 && j >= 0 && m.can_pair(i, j); --i, --j) {
        m.pair(i, j);
    }
}

void search_near_pairs(const matcher &m) {
    int32_t pair_a = 0;
    int32_t pair_b = 0;
    for (int32_t a = 0; a < m.a.count; ++a) {
        if (m.a.map[a] >= 0) {
            pair_a = a;
            pair_b = m.a.map[a];
        } else if (m.a.map[a] == line_unpaired && a - pair_a <= search_range) {
            const int32_t b = find_partner(m, a, a - pair_a, pair_b);
            if (b >= 0) {
                grow_around(m, a, b);
            } else {
                ++a;  // the line behind a failed search is not tried
            }
        }
    }
}

bool valid_index(const tdm_session *s, int index) {
    if (index >= 0 && index < s->file_count) {
        return true;
    }
    std::printf("File index out-of-range for session (%d).\n", index);
    return false;
}

/// A map for file k's middle, handed to the caller at once.
int create_map(const tdm_session *s, int k, side *out, int32_t **map, uint64_t *count) {
    const session_file &file = s->files[k];
    const int32_t lines = file.last_line + 1;
    *map = static_cast<int32_t *>(
        mem_malloc(sizeof(int32_t) * static_cast<size_t>(std::max(lines, 1))));
    if (*map == nullptr) {
        return 1;  // silent
    }
    *count = static_cast<uint64_t>(lines);
    *out = {file.lines, lines, *map};
    return 0;
}

}  // namespace
}  // namespace tdm

int tdm_engine_match(tdm_session *s, int i, int j, int32_t **map_i, uint64_t *count_i,
                     int32_t **map_j, uint64_t *count_j) {
    if (s == nullptr || map_i == nullptr || count_i == nullptr || map_j == nullptr ||
        count_j == nullptr) {
        return 1;
    }
    tdm::matcher m{.a = {}, .b = {}, .file_a = i, .file_b = j};
    if (!tdm::valid_index(s, i) || !tdm::valid_index(s, j) ||
        s->state == tdm::session_state::entry_failed ||
        tdm::create_map(s, i, &m.a, map_i, count_i) != 0 ||
        tdm::create_map(s, j, &m.b, map_j, count_j) != 0) {
        return 1;
    }
    tdm::classify(m.a, j);
    tdm::classify(m.b, i);
    tdm::pair_unique_lines(m);
    tdm::grow_backwards(m);
    tdm::search_near_pairs(m);
    return 0;
}

void tdm_engine_free_map(int32_t *map) {
    mem_free(map);
}
