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
    if (tdm_engine_enter(s, identical) != 0) {
        return 1;
    }
    if (*identical == 0) {
        return match_files(s);
    }
    for (int k = 1; k < s->file_count; ++k) {
        s->files[k].same_as_base = 1;
    }
    return 0;
}

}  // namespace
}  // namespace tdm

int tdm_compare(tdm_session *s, int *identical) {
    if (s == nullptr || identical == nullptr || s->state != tdm::session_state::created) {
        return 1;
    }
    const int status = tdm::compare(s, identical);
    if (status != 0) {
        s->state = tdm::session_state::failed;
    }
    if (s->file_codeset == tdm::codeset_none) {
        s->convert = 0;  // no line revealed what to convert from
    }
    return status;
}
