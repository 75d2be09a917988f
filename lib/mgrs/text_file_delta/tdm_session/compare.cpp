// The one call that makes a comparison out of an opened session.
#include "tdm_session/session.h"

namespace tdm {
namespace {

int match_files(tdm_session *s) {
    for (int k = 1; k < s->file_count; ++k) {
        if (tdm_engine_match(s, 0, k, &s->base_map[k], &s->base_line_count, &s->file_map[k],
                             &s->file_line_count[k]) != 0) {
            return 1;
        }
    }
    return 0;
}

int compare(tdm_session *s, int *identical) {
    // A host may have entered the files itself.
    if (s->state == session_state::created && tdm_engine_enter(s, identical) != 0) {
        return 1;
    }
    *identical = static_cast<int>(s->identical);
    if (*identical == 0) {
        return match_files(s);
    }
    for (int k = 1; k < s->file_count; ++k) {
        s->files[k].same_as_base = 1;
    }
    return 0;
}

bool may_compare(const tdm_session *s) {
    const bool not_compared =
        s->state == session_state::created || s->state == session_state::entered;
    return not_compared && s->no_op_name == 0;
}

}  // namespace
}  // namespace tdm

int tdm_compare(tdm_session *s, int *identical) {
    if (s == nullptr || identical == nullptr || !tdm::may_compare(s)) {
        return 1;
    }
    const int status = tdm::compare(s, identical);
    if (status == 0) {
        s->state = tdm::session_state::compared;
    } else if (s->state == tdm::session_state::entered) {
        s->state = tdm::session_state::compare_failed;
    }
    if (s->file_codeset == tdm::codeset_none) {
        s->convert = 0;  // no line revealed what to convert from
    }
    return status;
}
