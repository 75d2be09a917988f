// What goes into the merged file for one group: the base text where nobody changed it, the change
// on which all who changed something agree, what the user accepts, or the base text again.
#include <cstring>

#include "messages/messages.h"
#include "tdm_session/merge_report.h"

namespace tdm {
namespace {

// The line range of a report line, shared by all of them: it is formatted anew for each, and the
// message service is done with it when it returns. The library's only mutable static object.
char fmtbuf[50];

enum class verdict : uint8_t { found, none, failed };

int file_number(const diff_block &b) {
    return static_cast<int>(b.file_index) + 1;
}

bool removes_base_lines(const diff_block &b) {
    return b.kind == tdm_diff_delete || b.kind == tdm_diff_moved_delete;
}

const char *range_text(int32_t first, int32_t last) {
    if (first == last) {
        msg_sprintf(fmtbuf, &_tdm_text_file_delta_msg_table, static_cast<int>(message::one_line),
                    first);
    } else {
        msg_sprintf(fmtbuf, &_tdm_text_file_delta_msg_table, static_cast<int>(message::line_range),
                    first, last);
    }
    return fmtbuf;
}

int write_decision(merge_report *r, const diff_block &b, bool base_text, bool automatic) {
    return r->output_proc(r, r->session, &b, base_text ? 1 : 0, automatic ? 1 : 0) != 0 ? 1 : 0;
}

/// Reports one accepted difference and has its text written.
int apply_change(merge_report *r, const diff_block &b, bool automatic) {
    constexpr auto level = severity::report;
    switch (b.kind) {
        case tdm_diff_unchanged:
            return write_decision(r, b, true, automatic);
        case tdm_diff_change:
            print_message(level, message::applying_change, file_number(b),
                          range_text(b.other_first, b.other_last));
            return write_decision(r, b, false, automatic);
        case tdm_diff_insert:
        case tdm_diff_moved_insert:
            print_message(level, message::applying_insert, file_number(b),
                          range_text(b.other_first, b.other_last));
            return write_decision(r, b, false, automatic);
        case tdm_diff_delete:
        case tdm_diff_moved_delete:
            // The base lines are simply not copied.
            print_message(level, message::applying_deletion, file_number(b),
                          range_text(b.base_first, b.base_last));
            return 0;
        default:
            return 0;
    }
}

/// Whether two blocks make the same change. Texts are compared byte for byte, blanks included.
verdict agree(tdm_session *s, const diff_block &p, const diff_block &c) {
    // A host may hand in any numbers.
    const int64_t more_lines = int64_t{c.other_last} - c.other_first;
    if (p.base_first != c.base_first || p.base_last != c.base_last ||
        int64_t{p.other_last} - p.other_first != more_lines || p.kind != c.kind) {
        return verdict::none;
    }
    if (removes_base_lines(c)) {
        return verdict::found;
    }
    const unconverted in_own_codeset(s);
    for (int64_t j = 0; j <= more_lines; ++j) {
        const char *const line = tdm_get_line_text(s, static_cast<int>(c.file_index),
                                                   static_cast<int>(c.other_first + j));
        const char *const other = tdm_get_line_text(s, static_cast<int>(p.file_index),
                                                    static_cast<int>(p.other_first + j));
        if (line == nullptr || other == nullptr) {
            return verdict::failed;
        }
        if (std::strcmp(line, other) != 0) {
            return verdict::none;
        }
    }
    return verdict::found;
}

/// Takes block `p` as the candidate if there is none yet or both agree.
verdict take_if_agreed(const merge_report &r, const diff_block &p, const diff_block **candidate) {
    const verdict v = *candidate == nullptr ? verdict::found : agree(r.session, p, **candidate);
    if (v == verdict::found) {
        *candidate = &p;
    }
    return v;
}

/// The one insertion that all pending blocks are.
verdict find_common_insertion(const merge_report &r, const diff_block **candidate) {
    for (int k = 1; k < r.file_count; ++k) {
        const diff_block &b = r.pending[k];
        if (b.kind == empty_slot) {
            continue;
        }
        if (!is_insertion(b)) {
            return verdict::none;
        }
        if (const verdict v = take_if_agreed(r, b, candidate); v != verdict::found) {
            return v;
        }
    }
    return *candidate == nullptr ? verdict::none : verdict::found;
}

/// The one change that all contributors made who changed these base lines.
verdict find_common_change(const merge_report &r, const diff_block **candidate) {
    for (int k = 1; k < r.file_count; ++k) {
        const diff_block &b = r.pending[k];
        if (b.kind != tdm_diff_change && !removes_base_lines(b)) {
            continue;
        }
        if (const verdict v = take_if_agreed(r, b, candidate); v != verdict::found) {
            return v;
        }
    }
    return *candidate == nullptr ? verdict::none : verdict::found;
}

/// The decision on which all agree who changed something: that of the last of them.
verdict find_candidate(const merge_report &r, const diff_block **candidate) {
    *candidate = nullptr;
    const verdict insertion = find_common_insertion(r, candidate);
    if (insertion != verdict::none) {
        return insertion;
    }
    *candidate = nullptr;
    return find_common_change(r, candidate);
}

bool nothing_changed(const merge_report &r) {
    if (r.pending_count != r.file_count - 1) {
        return false;
    }
    for (int k = 1; k < r.file_count; ++k) {
        if (r.pending[k].kind != tdm_diff_unchanged) {
            return false;
        }
    }
    return true;
}

/// A single contributor agrees with nobody, and what touches another's change is nobody's alone.
bool may_decide(const merge_report &r, bool adjacent, const diff_block &candidate) {
    const bool all_have_a_say = r.pending_count == r.file_count - 1;
    if (r.file_count < 3 || (adjacent && !all_have_a_say)) {
        return false;
    }
    switch (r.mq) {
        case tdm_query_ask_all:
        case tdm_query_ask_all_too:
            return false;
        case tdm_query_trust_last:
            return static_cast<int>(candidate.file_index) == r.file_count - 1;
        default:
            return true;
    }
}

int close_group(merge_report *r) {
    empty_group(r);
    print_message(severity::report, message::report_separator);
    return 0;
}

int abort_merge() {
    print_message(severity::notice, message::aborting);
    return 1;
}

/// Whether the user is asked about `b` once `accepted` says if something was taken before.
bool is_asked(const merge_report &r, const diff_block &b, bool accepted) {
    if (b.kind == empty_slot) {
        return false;
    }
    if (r.pending_is_insert != 0) {
        return is_insertion(b);
    }
    return b.kind != tdm_diff_unchanged && !(accepted && removes_base_lines(b));
}

/// Asks about each block in turn and writes what is accepted.
int ask_about_group(merge_report *r, bool *accepted) {
    for (int k = 1; k < r->file_count; ++k) {
        const diff_block &b = r->pending[k];
        if (!is_asked(*r, b, *accepted)) {
            continue;
        }
        switch (r->ask_proc(r->session, &b, *accepted ? msg_answer_no : msg_answer_yes)) {
            case msg_answer_abort:
                return abort_merge();
            case msg_answer_yes:
                if (apply_change(r, b, false) != 0) {
                    return 1;
                }
                *accepted = true;
                break;
            default:
                break;
        }
    }
    return 0;
}

/// Writes the base text of a region whose changes were all declined.
int keep_original(merge_report *r) {
    int last = r->file_count - 1;
    while (last > 1 && r->pending[last].kind == empty_slot) {
        --last;
    }
    // A copy: should the writing fail, the group stays as it was, to be decided again.
    diff_block b = r->pending[last];
    b.kind = tdm_diff_unchanged;
    print_message(severity::report, message::keeping_original,
                  range_text(b.base_first, b.base_last));
    return apply_change(r, b, false);
}

int decide_by_asking(merge_report *r) {
    if (r->mq == tdm_query_never_ask) {
        print_message(severity::report, message::no_automatic_decision);
        return abort_merge();
    }
    bool accepted = false;
    if (ask_about_group(r, &accepted) != 0) {
        return 1;
    }
    if (!accepted && r->pending_is_insert == 0 && keep_original(r) != 0) {
        return 1;
    }
    return close_group(r);
}

}  // namespace

void empty_group(merge_report *r) {
    for (diff_block &b : r->pending) {
        b.kind = empty_slot;
    }
    r->pending_count = 0;
    r->pending_is_insert = 0;
    r->adjacent = 0;
}

int decide_now(merge_report *r) {
    const bool adjacent = r->adjacent != 0;
    r->adjacent = 0;
    if (r->pending_count == 0) {
        return 0;
    }
    if (nothing_changed(*r)) {
        if (apply_change(r, r->pending[1], true) != 0) {
            return 1;
        }
        empty_group(r);
        return 0;
    }
    const diff_block *candidate = nullptr;
    const verdict v = find_candidate(*r, &candidate);
    if (v == verdict::failed) {
        return 1;
    }
    if (v == verdict::found && may_decide(*r, adjacent, *candidate)) {
        print_message(severity::report, message::automatic);
        return apply_change(r, *candidate, true) != 0 ? 1 : close_group(r);
    }
    return decide_by_asking(r);
}

uint64_t tdm_dft_ask_proc(tdm_session * /*s*/, const diff_block *b, uint64_t default_answer) {
    constexpr uint64_t allowed = msg_answer_abort | msg_answer_yes | msg_answer_no;
    message question;
    switch (b->kind) {
        case tdm_diff_change:
            question = message::ask_change;
            break;
        case tdm_diff_insert:
        case tdm_diff_moved_insert:
            question = message::ask_insertion;
            break;
        case tdm_diff_delete:
        case tdm_diff_moved_delete:
            question = message::ask_deletion;
            break;
        default:
            return msg_answer_yes;
    }
    char text[128];
    msg_sprintf(text, &_tdm_text_file_delta_msg_table, static_cast<int>(question), file_number(*b));
    return msg_prompt_yes_no(0, text, allowed, default_answer);
}

}  // namespace tdm
