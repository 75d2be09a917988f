// Entering the files: the middle lines of every file are read once, hashed, and then filed under
// their hashes.
//
// From here on no text is compared: two lines are the same line when they have the same class, that
// is when their hashes are equal. In a check-in's session a keyed hash of the bytes takes the place
// of the plain one, so that lines which differ never share a class. The table is asked only for
// lines that do not follow the base's own order: most lines of a file have the class of the base
// line behind the one found last.
#include <sys/random.h>
#include <unistd.h>

#include <climits>
#include <cstdio>

#include "messages/messages.h"
#include "tdm_session/grow_array.h"
#include "tdm_session/line_hash.h"
#include "tdm_session/line_reader.h"
#include "tdm_session/session.h"

namespace tdm {
namespace {

constexpr uint32_t max_checkpoints = 131072;
constexpr int checkpoint_shift = 17;
constexpr int look_ahead = 128;
constexpr int32_t far_point_distance = 64;  // lines
constexpr int unreadable = 2;

/// The way from a line's text to its class.
struct classifier {
    explicit classifier(tdm_session *owner) : s(owner) {}
    classifier(const classifier &) = delete;
    classifier &operator=(const classifier &) = delete;
    ~classifier() {
        array_release(&base_hashes);
        array_release(&file_hashes);
    }

    tdm_session *s;
    hash_key key{};
    bool keyed = false;
    uint64_t *base_hashes = nullptr;  // grow_array: the hash of every middle line of the base
    uint64_t *file_hashes = nullptr;  // grow_array: the same of the file being entered
    int32_t expected = 0;             // the base line that comes next if the file follows the base
};

int start_classifier(classifier *c) {
    constexpr uint64_t first_capacity = 1024;
    c->base_hashes = array_create<uint64_t>(first_capacity);
    c->file_hashes = array_create<uint64_t>(first_capacity);
    if (c->base_hashes == nullptr || c->file_hashes == nullptr) {
        report_out_of_memory();
        return 1;
    }
    c->keyed = c->s->exact_classes != 0;
    if (c->keyed && getentropy(&c->key, sizeof c->key) != 0) {
        report_failure_text("No random key for the comparison: %s\n", msg_strerror(errno));
        return 1;
    }
    return 0;
}

uint64_t hash_line(const classifier &c, std::string_view line) {
    if (c.s->ignore_blanks != 0) {
        return c.keyed ? keyed_blank_line_hash(c.key, line) : blank_line_hash(line);
    }
    return c.keyed ? keyed_line_hash(c.key, line) : exact_line_hash(line);
}

/// The class in the table, made when it is not there. @returns null (reported) without memory.
line_class *enter_class(tdm_session *s, uint64_t hash) {
    void *stored_key = nullptr;
    void *data = nullptr;
    const int present = ht_flen_enter(s->line_classes, &hash, &stored_key, &data);
    auto *const found = static_cast<line_class *>(data);
    if (found == nullptr) {
        report_out_of_memory();
    } else if (present == 0) {
        found->dup_mask = 0;
        for (int k = 0; k < s->file_count; ++k) {
            first_lines(found)[k] = no_line;
        }
    }
    return found;
}

/// The class of a line of a file other than the base.
line_class *class_of_file_line(classifier *c, uint64_t hash) {
    const session_file &base = c->s->files[0];
    // A changed line costs two lookups at most: the next line is the expected one or the one after.
    for (int32_t line = c->expected; line <= c->expected + 1 && line <= base.last_line; ++line) {
        if (c->base_hashes[line] == hash) {
            c->expected = line + 1;
            return const_cast<line_class *>(base.lines[line]);
        }
    }
    line_class *const found = enter_class(c->s, hash);
    if (found != nullptr && first_lines(found)[0] != no_line && (found->dup_mask & 1) == 0) {
        c->expected = static_cast<int32_t>(first_lines(found)[0]) + 1;
    }
    return found;
}

/// Line n of file k is of class `c`.
void note_occurrence(line_class *c, int k, int32_t n) {
    uint32_t *const first = &first_lines(c)[k];
    if (*first == no_line) {
        *first = static_cast<uint32_t>(n);
    } else {
        c->dup_mask |= uint32_t{1} << k;
    }
}

int add_checkpoint(session_file *file, int32_t n, off_t position) {
    if (array_reserve(&file->checkpoints, file->checkpoint_count) != 0) {
        file->checkpoint_count = 0;
        return 1;  // silent
    }
    file->checkpoints[file->checkpoint_count++] = {n, static_cast<uint64_t>(position)};
    return 0;
}

/// Notes the place of line n of file k, which has no checkpoint. Checkpoints are a number of bytes
/// apart that grows with the file, and these may be as many lines.
int add_far_point(tdm_session *s, int k, int32_t n, off_t position) {
    if (n % far_point_distance != 0) {
        return 0;
    }
    checkpoint **const points = &s->far_points[k];
    uint32_t *const count = &s->far_point_count[k];
    constexpr uint64_t first_capacity = 64;
    if (*points == nullptr) {
        *points = array_create<checkpoint>(first_capacity);
    }
    if (*points == nullptr || array_reserve(points, *count) != 0) {
        *count = 0;
        report_out_of_memory();
        return 1;
    }
    (*points)[(*count)++] = {n, static_cast<uint64_t>(position)};
    return 0;
}

/// Line numbers, and those that stages look ahead to, are 32 bits wide, in the whole file too.
int check_line_number(const tdm_session *s, const session_file &file, int32_t n) {
    if (s->head.line_count + static_cast<uint64_t>(n) < INT_MAX - look_ahead) {
        return 0;
    }
    report_failure_text("\"%s\" has too many lines.\n", file.input.file_name);
    return 1;
}

int add_hash(uint64_t **hashes, int32_t n, uint64_t hash) {
    if (array_reserve(hashes, static_cast<uint64_t>(n)) != 0) {
        report_out_of_memory();
        return 1;
    }
    (*hashes)[n] = hash;
    return 0;
}

/// A file that goes on behind the size it had when it was opened was written to since, or tells no
/// size; what lies there would be missing.
int check_end(const session_file &file) {
    char behind = '\0';
    const auto end = static_cast<off_t>(file.input.file_size);
    if (pread(fileno(file.input.stream), &behind, 1, end) <= 0) {
        return 0;
    }
    report_failure_text("\"%s\" has more text than its size tells.\n", file.input.file_name);
    return 1;
}

/// Reads the `total` bytes of file k's middle. `count` receives the number of its lines.
/// @returns 0, or nonzero after a report: `unreadable` when the next line cannot be read.
int hash_middle(classifier *c, int k, uint64_t total, uint64_t **hashes, int32_t *count) {
    session_file *const file = &c->s->files[k];
    const auto start = static_cast<off_t>(c->s->head.bytes[k]);
    const uint64_t step = total >> checkpoint_shift;
    off_t position = start;
    for (int32_t n = 0;; ++n) {
        *count = n;
        const off_t line_start = position;
        const auto consumed = static_cast<uint64_t>(line_start - start);
        if (consumed >= total) {
            return 0;
        }
        size_t length = 0;
        bool at_eof = false;
        if (read_line(&file->input, &position, &length, &at_eof) != 0) {
            return unreadable;
        }
        if (at_eof) {
            return 0;
        }
        const std::string_view line(file->input.line, length);
        detect_codeset(c->s, line);
        const bool room = file->checkpoint_count < max_checkpoints;
        const bool due = room && consumed > file->checkpoint_count * step;
        if ((due && add_checkpoint(file, n, line_start) != 0) ||
            (!due && add_far_point(c->s, k, n, line_start) != 0) ||
            check_line_number(c->s, *file, n) != 0 ||
            add_hash(hashes, n, hash_line(*c, line)) != 0) {
            return 1;
        }
    }
}

/// Files the lines of file k under their hashes. That many lookups in a row, with nothing between
/// them, are faster than one after each line that is read: they wait for memory together.
int class_lines(classifier *c, int k, const uint64_t *hashes, int32_t count) {
    session_file *const file = &c->s->files[k];
    const session_file &base = c->s->files[0];
    if (count != 0 && array_reserve(&file->lines, static_cast<uint64_t>(count) - 1) != 0) {
        return 1;  // silent
    }
    bool same = true;
    c->expected = 0;
    for (int32_t n = 0; n < count; ++n) {
        line_class *const found =
            k == 0 ? enter_class(c->s, hashes[n]) : class_of_file_line(c, hashes[n]);
        if (found == nullptr) {
            return 1;
        }
        note_occurrence(found, k, n);
        file->lines[n] = found;
        file->last_line = n;
        same = same && n <= base.last_line && base.lines[n] == found;
    }
    file->same_as_base = same && file->last_line == base.last_line ? 1 : 0;
    return 0;
}

int enter_file(classifier *c, int k) {
    tdm_session *const s = c->s;
    session_file *const file = &s->files[k];
    uint64_t **const hashes = k == 0 ? &c->base_hashes : &c->file_hashes;
    const auto total =
        static_cast<int64_t>(file->input.file_size - s->head.bytes[k] - s->tail.bytes[k]);
    int32_t count = 0;
    if (total > 0) {
        if (fseeko(file->input.stream, static_cast<off_t>(s->head.bytes[k]), SEEK_SET) != 0) {
            report_file_trouble(message::trouble_accessing, file->input.file_name);
            return 1;
        }
        const int status = hash_middle(c, k, static_cast<uint64_t>(total), hashes, &count);
        if (status == unreadable) {
            (void)class_lines(c, k, *hashes, count);  // what came before the line stays known
        }
        if (status != 0) {
            return 1;
        }
    }
    return check_end(*file) != 0 ? 1 : class_lines(c, k, *hashes, count);
}

int enter_files(tdm_session *s, bool *identical) {
    *identical = false;
    if (s->file_count < 2) {
        report_failure(message::too_few_files);
        return 1;
    }
    if (match_head_tail(s, true, &s->head, identical) != 0) {
        return 1;
    }
    if (*identical) {
        return 0;
    }
    if (match_head_tail(s, false, &s->tail, identical) != 0) {
        return 1;
    }
    if (*identical) {
        std::printf("**** Files are different front-to-back but identical back-to-front!");
        return 1;
    }
    classifier c(s);
    if (start_classifier(&c) != 0) {
        return 1;
    }
    for (int k = 0; k < s->file_count; ++k) {
        if (enter_file(&c, k) != 0) {
            return 1;
        }
    }
    return 0;
}

}  // namespace
}  // namespace tdm

int tdm_engine_enter(tdm_session *s, int *identical) {
    // The tables take one entry of the files; they stay as the first one left them.
    if (s == nullptr || identical == nullptr || s->state != tdm::session_state::created) {
        return 1;
    }
    bool same = false;
    const int status = tdm::enter_files(s, &same);
    s->state = status == 0 ? tdm::session_state::entered : tdm::session_state::entry_failed;
    s->identical = same ? 1 : 0;
    *identical = same ? 1 : 0;
    return status;
}
