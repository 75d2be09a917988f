// The lineage of a version, traced in one forward pass: the header is newest first, so the branch
// that a branch was made off always stands below it.
#include "tdm_container/lineage.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "messages/messages.h"
#include "record_encode.h"
#include "tdm_container/codec.h"
#include "tdm_session/grow_array.h"

namespace tdm {
namespace {

constexpr uint64_t first_capacity = 8;

int append_pair(lineage *l, version_id pair) {
    if (array_reserve(&l->pairs, static_cast<uint64_t>(l->count)) != 0) {
        report_out_of_memory();
        return 1;
    }
    l->pairs[l->count++] = pair;
    return 0;
}

bool before(const version_id &a, const version_id &b) {
    return a.branch != b.branch ? a.branch > b.branch : a.number > b.number;
}

void order_pairs(lineage *l) {
    const std::span pairs(l->pairs, static_cast<size_t>(l->count));
    if (!std::is_sorted(pairs.begin(), pairs.end(), before)) {
        std::sort(pairs.begin(), pairs.end(), before);
    }
}

int bad_record(const container_input *c) {
    report_bad_record(c->in.file_name, c->line.data());
    return 1;
}

/// The check that a version number is new, made on the first version record of its branch: that is
/// the newest one, whether it lives or is commented out.
int check_version_is_new(const container_input *c, version_id version, bool *pending) {
    bool commented = false;
    const std::string_view record = without_comment(c->line, &commented);
    if (is_record(c->line, format::kind_element)) {
        *pending = false;
        return 0;
    }
    if (!is_record(record, format::kind_version)) {
        return 0;
    }
    oid_buffer oid;
    version_id found;
    uint64_t created = 0;
    if (tdm_cntutl_decode_cre_ver(record.data(), oid, &found.branch, &found.number, &created) !=
        0) {
        return bad_record(c);
    }
    if (found.branch != version.branch) {
        return 0;
    }
    if (version.number <= found.number) {
        // The text's %x takes unsigned ints; the numbers are 64 bits wide.
        report_failure(message::version_not_highest, static_cast<unsigned>(version.number),
                       static_cast<unsigned>(version.branch), static_cast<unsigned>(found.number),
                       c->in.file_name);
        return 1;
    }
    *pending = false;
    return 0;
}

}  // namespace

lineage::~lineage() {
    array_release(&pairs);
}

int next_branch_number(const container_input *c, uint64_t highest, uint64_t met, uint64_t *branch) {
    if (met > highest || highest == UINT64_MAX) {
        format::encode_status(known_formats, highest, [c](std::string_view record) {
            char shown[64] = {};
            std::memcpy(shown, record.data(), record.find('\n'));
            report_bad_record(c->in.file_name, shown);
        });
        return 1;
    }
    *branch = highest + 1;
    return 0;
}

int find_branch_by_oid(container_input *c, const char *oid, bool missing_ok, branch_place *place) {
    uint64_t highest = 0;
    for (;;) {
        bool at_eof = false;
        if (next_line(c, &at_eof) != 0) {
            return 1;
        }
        if (at_eof || is_record(c->line, format::kind_element)) {
            if (missing_ok) {
                place->branch = highest;
                return 2;
            }
            report_failure(message::no_such_branch);
            return 1;
        }
        if (!is_record(c->line, format::kind_branch)) {
            continue;
        }
        oid_buffer found;
        if (tdm_cntutl_decode_cre_bra(c->line.data(), found, &place->branch, &place->parent_branch,
                                      &place->parent_version) != 0) {
            return bad_record(c);
        }
        if (oid != nullptr && std::strcmp(found, oid) == 0) {
            return 0;
        }
        highest = std::max(highest, place->branch);
    }
}

int construct_lineage(container_input *c, version_id version, bool check_new, version_id start,
                      lineage *l) {
    l->pairs = array_create<version_id>(first_capacity);
    if (l->pairs == nullptr) {
        report_out_of_memory();
        return 1;
    }
    l->pairs[l->count++] = {version.branch, version.number};
    if (start.branch != version.branch) {
        l->pairs[l->count++] = {start.branch, start.number};
    }
    if (rewind_container(c) != 0) {
        return 1;
    }
    uint64_t current = start.branch;
    for (bool pending = check_new; current != 0 || pending;) {
        bool at_eof = false;
        if (next_line(c, &at_eof) != 0) {
            return 1;
        }
        if (at_eof) {
            if (current == 0) {
                break;
            }
            report_failure(message::no_ancestors);
            return 1;
        }
        if (pending && check_version_is_new(c, version, &pending) != 0) {
            return 1;
        }
        if (current == 0 || !is_record(c->line, format::kind_branch)) {
            continue;
        }
        oid_buffer oid;
        branch_place place;
        if (tdm_cntutl_decode_cre_bra(c->line.data(), oid, &place.branch, &place.parent_branch,
                                      &place.parent_version) != 0) {
            return bad_record(c);
        }
        if (place.branch == current) {
            if (append_pair(l, {place.parent_branch, place.parent_version}) != 0) {
                return 1;
            }
            current = place.parent_branch;
        }
    }
    order_pairs(l);
    return 0;
}

}  // namespace tdm
