#include "tdm_container/listed_record.h"

#include <cstring>

#include "messages/messages.h"

namespace tdm {
namespace {

int bad_record(const container_input *c, long line_number) {
    report_failure(message::bad_record_at_line, c->in.file_name, line_number, c->line.data());
    return 1;
}

}  // namespace

int read_listed_record(const container_input *c, long line_number, size_t longest_oid,
                       listed_record *r) {
    const char *const line = c->line.data();
    *r = {};
    if (line[0] != format::record_mark) {
        return 0;
    }
    r->kind = line[1];
    switch (r->kind) {
        case format::kind_comment:
        case format::kind_delete:
        case format::kind_insert:
        case format::kind_unended:
        case format::kind_quoted:
        case format::kind_marked_text:
            return 0;
        case format::kind_version:
        case format::kind_branch:
            if (tdm_cntutl_decode_cre_bra(line, r->oid, &r->first, &r->second, &r->third) != 0) {
                break;
            }
            return std::strlen(r->oid) <= longest_oid ? 0 : bad_record(c, line_number);
        case format::kind_element:
            if (tdm_cntutl_decode_cre_ele(line, r->oid) != 0) {
                break;
            }
            return std::strlen(r->oid) <= longest_oid ? 0 : bad_record(c, line_number);
        case format::kind_status:
            report_failure(message::status_must_be_first);
            break;
        default:
            break;
    }
    return bad_record(c, line_number);
}

int read_listed_run(const container_input *c, long line_number, listed_record *r) {
    if (tdm_cntutl_decode_insert(c->line.data(), &r->first, &r->second, &r->third) != 0) {
        return bad_record(c, line_number);
    }
    return 0;
}

}  // namespace tdm
