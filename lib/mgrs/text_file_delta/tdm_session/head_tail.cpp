// The lines that all files share at the front and at the end.
//
// Both passes compare whole lines of all files and count a line only when every file has it, so
// head and tail begin and end on line boundaries in every file. Forwards lines come from the line
// reader; backwards from the backward reader, which hands a line too long for its buffer over in
// pieces, the line's end first. Those are put together here.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "messages/messages.h"
#include "tdm_session/line_reader.h"
#include "tdm_session/session.h"

namespace tdm {
namespace {

constexpr uint64_t margin = 512;  // bytes of every file that the backward pass leaves alone
constexpr int piece_size = 4096;

enum class step : uint8_t { line, no_line, stop, failed };

enum class line_start : uint8_t { yes, no, failed };

struct line_result {
    step what;
    std::string_view text;  // NUL-terminated
};

int report_trouble(const session_file &file) {
    report_file_trouble(message::trouble_accessing, file.input.file_name);
    return 1;
}

/// Reads the lines of all files from the front.
struct forward_source {
    explicit forward_source(tdm_session *session) : s(session) {
        for (int k = 0; k < s->file_count; ++k) {
            fseeko(s->files[k].input.stream, 0, SEEK_SET);
        }
    }

    line_result next(int k) {
        line_stream *const in = &s->files[k].input;
        size_t length = 0;
        bool at_eof = false;
        if (read_line(in, &positions[k], &length, &at_eof) != 0) {
            return {step::failed, {}};
        }
        return {at_eof ? step::no_line : step::line, {in->line, length}};
    }

    tdm_session *s;
    off_t positions[max_files] = {};
};

/// Room for one line that arrives in pieces from its end. The pieces lie at the end of `assembled`.
struct line_room {
    char piece[piece_size];
    char assembled[longest_line + no_newline_prefix + 2];
    size_t length;
};

/// Reads the lines of all files from the end.
struct backward_source {
    explicit backward_source(tdm_session *session) : s(session) {}
    backward_source(const backward_source &) = delete;
    backward_source &operator=(const backward_source &) = delete;
    ~backward_source() {
        for (int k = 0; k < started; ++k) {
            futil_bw_stop(readers[k]);
        }
    }

    line_result next(int k);
    line_result next_piece(int k, char *piece);
    line_start starts_line(int k, uint64_t bytes_from_end) const;

    tdm_session *s;
    bw_reader *readers[max_files] = {};
    int started = 0;
    line_room base_room;
    line_room other_room;  // one for all files but the base
};

int start_readers(backward_source *source) {
    for (; source->started < source->s->file_count; ++source->started) {
        const session_file &file = source->s->files[source->started];
        bw_reader *const reader = futil_bw_start(file.input.stream, 1);
        if (reader == nullptr) {
            return report_trouble(file);
        }
        source->readers[source->started] = reader;
    }
    return 0;
}

/// The next piece of file k. A NUL in it ends the pass: the line reader will meet and refuse it.
line_result backward_source::next_piece(int k, char *piece) {
    int stored = -1;
    int at_start = 0;
    if (futil_bw_fgets(piece, piece_size, readers[k], &stored, &at_start) == nullptr) {
        if (at_start != 0) {
            return {step::no_line, {}};
        }
        report_trouble(s->files[k]);
        return {step::failed, {}};
    }
    const size_t length = std::strlen(piece);
    // A service that tells how much it stored gives a NUL inside away; others leave it alone.
    const bool holds_nul = stored > static_cast<int>(length) && stored < piece_size;
    return {holds_nul || length == 0 ? step::stop : step::line, {piece, length}};
}

/// Whether the last `bytes_from_end` bytes of file k begin a line; `failed` after a report. The
/// stream's own place stays.
line_start backward_source::starts_line(int k, uint64_t bytes_from_end) const {
    const line_stream &in = s->files[k].input;
    if (bytes_from_end >= in.file_size) {
        return bytes_from_end == in.file_size ? line_start::yes : line_start::no;
    }
    char before = '\0';
    const auto offset = static_cast<off_t>(in.file_size - bytes_from_end - 1);
    ssize_t got = 0;
    do {
        got = pread(fileno(in.stream), &before, 1, offset);
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        report_trouble(s->files[k]);
        return line_start::failed;
    }
    return got == 1 && before == '\n' ? line_start::yes : line_start::no;
}

/// Whether the line reader takes a line of that length.
bool is_text_length(std::string_view line) {
    const size_t newline = line.back() == '\n' ? 1 : 0;
    return line.size() <= format::longest_stored(line) + newline;
}

/// The line before the tail of file k. Only the file's very last line may lack its newline.
line_result backward_source::next(int k) {
    line_room *const room = k == 0 ? &base_room : &other_room;
    const uint64_t behind = s->tail.bytes[k];
    line_result piece = next_piece(k, room->piece);
    if (piece.what != step::line) {
        return piece;
    }
    if (piece.text.back() != '\n' && behind != 0) {
        return {step::stop, {}};
    }
    // Only a piece that fills much of the buffer can be less than its line.
    if (piece.text.size() < piece_size / 2) {
        return piece;
    }
    char *const end = room->assembled + sizeof room->assembled - 1;
    *end = '\0';
    for (char *begin = end;;) {
        const size_t space = static_cast<size_t>(begin - room->assembled);
        if (piece.text.size() > space) {
            return {step::stop, {}};  // longer than text may be: the line reader will refuse it
        }
        begin -= piece.text.size();
        std::memcpy(begin, piece.text.data(), piece.text.size());
        const auto length = static_cast<size_t>(end - begin);
        const line_start start = starts_line(k, behind + length);
        if (start != line_start::no) {
            const std::string_view line(begin, length);
            return {start == line_start::failed ? step::failed
                    : is_text_length(line)      ? step::line
                                                : step::stop,
                    line};
        }
        piece = next_piece(k, room->piece);
        if (piece.what != step::line) {
            return {piece.what == step::failed ? step::failed : step::stop, {}};
        }
        if (piece.text.back() == '\n') {
            return {step::stop, {}};
        }
    }
}

bool same_line(const tdm_session *s, std::string_view a, std::string_view b) {
    if (s->ignore_blanks != 0) {
        return str_cmp_ignore_whitespace(a.data(), b.data()) == 0;
    }
    return a == b;
}

/// Reads one line of every file. @returns `line` when all have it (lengths set), `no_line` when all
/// files are used up, `stop` when they differ, `failed` after a report.
template <typename Source>
step next_common_line(Source *source, uint64_t *lengths) {
    tdm_session *const s = source->s;
    const line_result base = source->next(0);
    if (base.what == step::stop || base.what == step::failed) {
        return base.what;
    }
    if (base.what == step::line) {
        detect_codeset(s, base.text);
    }
    lengths[0] = base.text.size();
    for (int k = 1; k < s->file_count; ++k) {
        const line_result other = source->next(k);
        if (other.what == step::failed) {
            return step::failed;
        }
        if (other.what != base.what) {
            return step::stop;
        }
        if (base.what == step::no_line) {
            continue;
        }
        if (!same_line(s, base.text, other.text)) {
            return step::stop;
        }
        lengths[k] = other.text.size();
        detect_codeset(s, other.text);
    }
    return base.what;
}

/// Extends the span line by line for as long as all files agree.
template <typename Source, typename MayGoOn>
int extend_span(Source *source, common_span *span, bool *identical, MayGoOn may_go_on) {
    uint64_t lengths[max_files] = {};
    while (may_go_on()) {
        switch (next_common_line(source, lengths)) {
            case step::failed:
                return 1;
            case step::stop:
                return 0;
            case step::no_line:
                *identical = true;
                return 0;
            case step::line:
                break;
        }
        ++span->line_count;
        for (int k = 0; k < source->s->file_count; ++k) {
            span->bytes[k] += lengths[k];
        }
    }
    return 0;
}

bool outside_margin(const tdm_session *s) {
    for (int k = 0; k < s->file_count; ++k) {
        if (s->head.bytes[k] + s->tail.bytes[k] + margin >= s->files[k].input.file_size) {
            return false;
        }
    }
    return true;
}

/// Whether file k still ends where it did when the session was opened, and its last `bytes` begin a
/// line; `failed` after a report.
line_start begins_tail(const backward_source &source, int k, uint64_t bytes) {
    struct stat st {};
    const line_stream &in = source.s->files[k].input;
    if (fstat(fileno(in.stream), &st) != 0) {
        report_trouble(source.s->files[k]);
        return line_start::failed;
    }
    return static_cast<uint64_t>(st.st_size) == in.file_size ? source.starts_line(k, bytes)
                                                             : line_start::no;
}

/// Gives the tail up when it does not begin a line in some file: a reader that cuts lines in ways
/// of its own must not make a line of half a line. Where the tail begins is told from the file's
/// size; in a file that was cut since, lines of the tail would be in the middle as well. 1 after a
/// report.
int check_tail(const backward_source &source, common_span *tail) {
    for (int k = 0; k < source.s->file_count && tail->bytes[k] != 0; ++k) {
        const line_start start = begins_tail(source, k, tail->bytes[k]);
        if (start != line_start::yes) {
            *tail = {};
            return start == line_start::failed ? 1 : 0;
        }
    }
    return 0;
}

}  // namespace

int match_head_tail(tdm_session *s, bool forward, common_span *span, bool *identical) {
    *identical = false;
    span->line_count = 0;
    if (forward) {
        forward_source source(s);
        return extend_span(&source, span, identical, [] { return true; });
    }
    backward_source source(s);
    if (start_readers(&source) != 0 ||
        extend_span(&source, span, identical, [s] { return outside_margin(s); }) != 0) {
        return 1;
    }
    return check_tail(source, span);
}

}  // namespace tdm
