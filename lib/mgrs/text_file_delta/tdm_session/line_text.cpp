// The text of one line of a file's middle, read again from the file.
//
// The nearest known start is a checkpoint, a place noted between checkpoints or past the last one,
// or the place behind the line fetched last. The stream is moved only when it does not stand there
// already, so lines fetched in order cost one read each, and a line anywhere costs a bounded number
// of reads.
#include <algorithm>
#include <cstdio>

#include "messages/messages.h"
#include "tdm_session/line_reader.h"
#include "tdm_session/session.h"

namespace tdm {
namespace {

/// The last of the places whose line is at or before `m`, or `known` when that is nearer.
line_position nearer_place(const checkpoint *places, uint32_t count, int32_t m,
                           line_position known) {
    const checkpoint *const past = std::upper_bound(
        places, places + count, m, [](int32_t line, const checkpoint &c) { return line < c.line; });
    return past == places || past[-1].line < known.line
               ? known
               : line_position{past[-1].line, past[-1].offset};
}

/// The nearest middle line at or before `m` whose place in file k is known.
line_position nearest_known_line(const tdm_session *s, int k, int32_t m) {
    const session_file &file = s->files[k];
    const line_position middle_start = {0, s->head.bytes[k]};
    if (m == 0) {
        return middle_start;
    }
    const checkpoint *const first = file.checkpoints;
    if (file.checkpoint_count == static_cast<uint32_t>(file.last_line)) {
        return {m, first[m - 1].offset};
    }
    const line_position last = s->last_pos[k];
    if (last.line == m) {
        return last;
    }
    line_position nearest = last.line < m && last.line != 0 ? last : middle_start;
    nearest = nearer_place(first, file.checkpoint_count, m, nearest);
    return nearer_place(s->far_points[k], s->far_point_count[k], m, nearest);
}

/// Reads from `start` up to middle line m, which is then in the file's line buffer.
int read_up_to(tdm_session *s, int k, line_position start, int32_t m, size_t *length) {
    line_stream *const in = &s->files[k].input;
    auto position = static_cast<off_t>(start.offset);
    const bool in_place = s->stream_at[k] == position;
    s->stream_at[k] = position_unknown;
    if (!in_place && fseeko(in->stream, position, SEEK_SET) != 0) {
        report_file_trouble(message::trouble_accessing, in->file_name);
        return 1;
    }
    for (int32_t line = start.line; line <= m; ++line) {
        bool at_eof = false;
        if (read_line(in, &position, length, &at_eof) != 0) {
            report_file_trouble(message::trouble_accessing, in->file_name);
            return 1;
        }
        if (at_eof) {
            report_failure(message::unexpected_eof, in->file_name);
            return 1;
        }
    }
    s->stream_at[k] = position;
    if (s->files[k].checkpoint_count != static_cast<uint32_t>(s->files[k].last_line)) {
        s->last_pos[k] = {m + 1, static_cast<uint64_t>(position)};
    }
    return 0;
}

const char *line_text(tdm_session *s, int k, int64_t m) {
    if (k < 0 || k >= s->file_count || m < 0 || m > s->files[k].last_line) {
        return nullptr;  // silent: not a line of the middle
    }
    const auto line = static_cast<int32_t>(m);
    size_t length = 0;
    if (read_up_to(s, k, nearest_known_line(s, k, line), line, &length) != 0) {
        return nullptr;
    }
    const char *const text = s->files[k].input.line;
    if (s->convert == 0 || !detect_codeset(s, {text, length})) {
        return text;
    }
    uint64_t converted_length = 0;
    const char *const converted = tdm_convert_codeset(
        s->cs_handle, s->file_codeset, s->locale_codeset, text, static_cast<uint32_t>(length),
        &s->conv_buf, &s->conv_buf_size, &converted_length);
    return converted == nullptr ? text : converted;
}

}  // namespace
}  // namespace tdm

const char *tdm_get_line_text(tdm_session *s, int file_index, int line_number) {
    if (s == nullptr) {
        return nullptr;
    }
    const auto head_lines = static_cast<int64_t>(s->head.line_count);
    return tdm::line_text(s, file_index, int64_t{line_number} - head_lines - 1);
}
