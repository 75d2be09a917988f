// Writing the merged file: what all files have in common, and the text of each decision.
#include <cstdio>
#include <cstring>

#include "messages/messages.h"
#include "tdm_session/merge_report.h"

namespace tdm {
namespace {

int write_output(const merge_report *r, const char *text) {
    if (fputs_unlocked(text, r->output_stream) == EOF) {
        report_file_trouble(message::trouble_accessing, r->output_path);
        return 1;
    }
    return 0;
}

int report_source_trouble(const merge_report *r) {
    report_file_trouble(message::trouble_accessing, r->source_path);
    return 1;
}

struct source_piece {
    char text[1024];
    bool ends_line;
    bool at_eof;
};

/// The next piece of the source file, a line or a part of one.
int read_piece(const merge_report *r, source_piece *piece) {
    piece->at_eof = false;
    if (fgets_unlocked(piece->text, sizeof piece->text, r->source_stream) == nullptr) {
        piece->at_eof = true;
        return ferror_unlocked(r->source_stream) != 0 ? report_source_trouble(r) : 0;
    }
    const size_t length = std::strlen(piece->text);
    piece->ends_line = length != 0 && piece->text[length - 1] == '\n';
    return 0;
}

int copy_head(const merge_report *r) {
    const uint64_t wanted = r->session->head.line_count;
    source_piece piece;
    for (uint64_t lines = 0; lines < wanted; lines += piece.ends_line ? 1 : 0) {
        if (read_piece(r, &piece) != 0) {
            return 1;
        }
        if (piece.at_eof) {
            // The last line of the head may lack its newline.
            if (lines + 1 == wanted) {
                return 0;
            }
            report_failure(message::unexpected_eof, r->source_path);
            return 1;
        }
        if (write_output(r, piece.text) != 0) {
            return 1;
        }
    }
    return 0;
}

int copy_tail(const merge_report *r) {
    source_piece piece;
    for (;;) {
        if (read_piece(r, &piece) != 0) {
            return 1;
        }
        if (piece.at_eof) {
            return 0;
        }
        if (write_output(r, piece.text) != 0) {
            return 1;
        }
    }
}

struct line_range {
    int file;
    int32_t first, last;
};

/// Where the text of a decision stands. The base text of a region that the source file left alone
/// is taken from there, like head and tail; base text that was kept against a change is the base's.
line_range decided_lines(const merge_report &r, const diff_block &b, bool base_text,
                         bool automatic) {
    const bool source_block = b.file_index == static_cast<uint32_t>(r.source_file);
    if (base_text && !(source_block && automatic)) {
        return {0, b.base_first, b.base_last};
    }
    return {static_cast<int>(b.file_index), b.other_first, b.other_last};
}

}  // namespace

int move_unchanged_data_from_base(merge_report *r, bool head) {
    if (r->output_stream == nullptr) {
        return 0;
    }
    const auto tail_bytes = static_cast<off_t>(r->session->tail.bytes[r->source_file]);
    const int moved = head ? fseeko(r->source_stream, 0, SEEK_SET)
                           : fseeko(r->source_stream, -tail_bytes, SEEK_END);
    if (moved != 0) {
        return report_source_trouble(r);
    }
    return head ? copy_head(r) : copy_tail(r);
}

int tdm_dft_output_proc(merge_report *r, tdm_session *s, const diff_block *b, int base_text,
                        int automatic) {
    const unconverted in_own_codeset(s);
    const line_range lines = decided_lines(*r, *b, base_text != 0, automatic != 0);
    for (int32_t n = lines.first; n <= lines.last; ++n) {
        const char *const text = tdm_get_line_text(s, lines.file, n);
        if (text == nullptr || write_output(r, text) != 0) {
            return 1;
        }
    }
    return 0;
}

}  // namespace tdm
