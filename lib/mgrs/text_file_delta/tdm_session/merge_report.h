// The state of one merge, and its stages.
//
// The differences that concern one place of the base are collected into the pending group, at most
// one block a contributor; then the group is decided and its text written, so that the output grows
// in base order.
#pragma once

#include <norviktdm/tdm.h>

#include "tdm_session/session.h"

namespace tdm {

/// In place of a block's kind: the contributor has none in the group.
inline constexpr uint32_t empty_slot = 0xFFFFFFFF;

inline bool is_insertion(const diff_block &b) {
    return b.kind == tdm_diff_insert || b.kind == tdm_diff_moved_insert;
}

}  // namespace tdm

struct merge_report {
    tdm_session *session;     // not owned
    FILE *source_stream;      // owned; the common head and tail are copied from it
    const char *source_path;  // the session's
    tdm_ask_proc ask_proc;
    tdm_output_proc output_proc;
    const char *output_path;  // the caller's; empty when the caller writes the output
    FILE *output_stream;      // owned; null when the caller writes the output
    int32_t mq;
    uint64_t group_start;  // base_first of the pending group
    uint64_t group_end;    // the highest base_last in it
    int32_t file_count;
    int32_t pending_count;       // slots that are not empty
    int32_t source_file;         // the file that head and tail are copied from
    uint32_t pending_is_insert;  // the pending blocks are insertions; none or all of them are
    uint32_t adjacent;           // they touch a place that another contributor changed
    diff_block pending[tdm::max_files];  // by contributor; slot 0 is never used
};

namespace tdm {

/// Marks every slot empty.
void empty_group(merge_report *r);

/// Decides the pending group, if there is one, and has its text written.
/// @returns 0; or 1 when the user aborted, no decision may be made or writing failed, all reported:
///          the group then stays pending.
[[nodiscard]] int decide_now(merge_report *r);

/// Copies the common head, or else the common tail, from the source file to the output.
/// @returns 0, also when the caller writes the output; or 1 after the failure was reported.
[[nodiscard]] int move_unchanged_data_from_base(merge_report *r, bool head);

/// Writes the text of one decision to the output file.
int tdm_dft_output_proc(merge_report *r, tdm_session *s, const diff_block *b, int base_text,
                        int automatic);

/// Asks about one difference on the terminal.
uint64_t tdm_dft_ask_proc(tdm_session *s, const diff_block *b, uint64_t default_answer);

/// While it lives line texts come in their files' own codeset, each file's in its own buffer.
struct unconverted {
    explicit unconverted(tdm_session *session) : s(session), convert(session->convert) {
        s->convert = 0;
    }
    unconverted(const unconverted &) = delete;
    unconverted &operator=(const unconverted &) = delete;
    ~unconverted() { s->convert = convert; }

    tdm_session *s;
    uint32_t convert;
};

}  // namespace tdm
