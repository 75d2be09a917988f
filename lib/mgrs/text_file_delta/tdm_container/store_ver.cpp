// tdm_store_ver: check-in. The predecessor is reconstructed into a temporary file and compared with
// the new text; the differences steer a copy of the old weave into the new container.
//
// Copying stops right behind the last line of the predecessor that it was asked for. So a record
// written there stands ahead of all records and lines of other versions that follow that line, and
// a deletion's count takes in only lines that the predecessor has.
//
// Cost: four forward passes over parts of the old container, one comparison, one write.
#include <sys/stat.h>

#include <cstdio>

#include "messages/messages.h"
#include "tdm_container/codec.h"
#include "tdm_container/container_file.h"
#include "tdm_container/lineage.h"
#include "tdm_container/weave_walker.h"
#include "tdm_session/line_reader.h"
#include "tdm_session/session.h"

namespace tdm {
namespace {

constexpr char operation[] = "create_version";

struct new_version {
    uint64_t create_time;
    const char *version_oid;
    const char *branch_oid;
    uint64_t version;
    const char *base_branch_oid;
    uint64_t predecessor;
    const char *text_path;
};

/// Where the new version goes.
struct placement {
    uint64_t highest_branch;
    uint64_t branch;
    uint64_t base_branch;
    bool branch_is_new;
};

/// A temporary file that is removed on every path.
struct temporary_file {
    temporary_file() = default;
    temporary_file(const temporary_file &) = delete;
    temporary_file &operator=(const temporary_file &) = delete;
    ~temporary_file() {
        if (output.out.file_name != nullptr) {
            std::remove(name);
        }
    }

    char name[1024] = "";
    text_output output;  // its file_name is set once the file exists
};

struct session_owner {
    session_owner() = default;
    session_owner(const session_owner &) = delete;
    session_owner &operator=(const session_owner &) = delete;
    ~session_owner() {
        if (session != nullptr) {
            tdm_destroy_session(session);
        }
    }

    tdm_session *session = nullptr;
};

int place_version(container_input *c, const new_version &v, placement *place) {
    branch_place found;
    switch (find_branch_by_oid(c, v.branch_oid, true, &found)) {
        case 0:
            *place = {place->highest_branch, found.branch, found.branch, false};
            return 0;
        case 2:
            break;
        default:
            return 1;
    }
    uint64_t branch = 0;
    if (check_oid(v.branch_oid) != 0 ||
        next_branch_number(c, place->highest_branch, found.branch, &branch) != 0 ||
        rewind_container(c) != 0 || find_branch_by_oid(c, v.base_branch_oid, false, &found) != 0) {
        return 1;
    }
    *place = {branch, branch, found.branch, true};
    return 0;
}

int reconstruct_predecessor(container_input *c, const lineage *l, temporary_file *file) {
    FILE *const stream =
        futil_tmpfile_binary(nullptr, nullptr, nullptr, file->name, sizeof file->name);
    if (stream == nullptr) {
        report_failure(message::no_temporary_file, msg_strerror(errno));
        return 1;
    }
    adopt_stream(&file->output, stream, file->name, operation);
    if (copy_until_n_lines(false, 0, all_lines, l, c, &file->output) != 0) {
        return 1;
    }
    return close_output(&file->output) == 0 ? 0 : 1;
}

int write_header(container_input *c, const new_version &v, const placement &place, text_output *o) {
    line_stream *const out = &o->out;
    if (tdm_cntutl_encode_status(out, format::known_format, place.highest_branch) != 0 ||
        tdm_cntutl_encode_cre_ver(out, v.version_oid, place.branch, v.version, v.create_time) !=
            0) {
        return 1;
    }
    if (place.branch_is_new && tdm_cntutl_encode_cre_bra(out, v.branch_oid, place.branch,
                                                         place.base_branch, v.predecessor) != 0) {
        return 1;
    }
    return skip_old_status(c, 1) != 0 ||
                   copy_structure_until_ctrl_kind(format::kind_element, c, o) != 0
               ? 1
               : 0;
}

/// The copy of the old weave into the new container, led by the differences.
struct weave_copy {
    container_input *c;
    text_output *o;
    const lineage *l;
    tdm_session *session;
    version_id version;
    const char *text_path;
    int32_t base_pos;  // lines of the predecessor copied so far
};

/// Counts are 32 bits and signed; a negative one, from an impossible block, copies to the end.
int copy_lines(const weave_copy &w, int32_t count) {
    return copy_until_n_lines(true, 0, static_cast<uint64_t>(int64_t{count}), w.l, w.c, w.o);
}

int weave_deletion(weave_copy *w, const diff_block &block) {
    const int32_t count = block.base_last - block.base_first + 1;
    if (copy_lines(*w, block.base_first - 1 - w->base_pos) != 0 ||
        tdm_cntutl_encode_delete(&w->o->out, w->version.branch, w->version.number,
                                 static_cast<uint64_t>(int64_t{count})) != 0 ||
        copy_lines(*w, count) != 0) {
        return 1;
    }
    w->base_pos = block.base_last;
    return 0;
}

int weave_insertion(const weave_copy &w, const diff_block &block) {
    const int32_t count = block.other_last - block.other_first + 1;
    if (tdm_cntutl_encode_insert(&w.o->out, w.version.branch, w.version.number,
                                 static_cast<uint64_t>(int64_t{count})) != 0) {
        return 1;
    }
    for (int32_t n = block.other_first; n <= block.other_last; ++n) {
        const char *const line = tdm_get_line_text(w.session, 1, n);
        // A line that cannot be had (reported) would leave the record's count wrong.
        if (line == nullptr) {
            return 1;
        }
        const std::string_view text = line;
        // Stored, with its prefix, it would be over the limit that is told.
        if (!format::can_be_read_back(text)) {
            report_line_too_long(w.text_path);
            return 1;
        }
        if (encode_text(&w.o->out, text) != 0) {
            return 1;
        }
    }
    return 0;
}

int advance_to(weave_copy *w, int32_t base_line) {
    if (copy_lines(*w, base_line - w->base_pos) != 0) {
        return 1;
    }
    w->base_pos = base_line;
    return 0;
}

int weave_block(weave_copy *w, const diff_block &block) {
    enum : uint32_t { unchanged, change, insert, removed, moved_insert, moved_delete };
    switch (block.kind) {
        case unchanged:
            return advance_to(w, block.base_last);
        case change:
            return weave_deletion(w, block) != 0 || weave_insertion(*w, block) != 0 ? 1 : 0;
        case insert:
        case moved_insert:
            return advance_to(w, block.base_first) != 0 || weave_insertion(*w, block) != 0 ? 1 : 0;
        case removed:
        case moved_delete:
            return weave_deletion(w, block);
        default:
            report_failure(message::unknown_difference, w->text_path);
            return 1;
    }
}

int weave_differences(weave_copy *w) {
    uint64_t head_lines = 0;
    uint64_t tail_lines = 0;
    if (tdm_init_diff_stream(w->session, &head_lines, &tail_lines) != 0 ||
        copy_until_n_lines(true, 0, head_lines, w->l, w->c, w->o) != 0) {
        return 1;
    }
    w->base_pos = static_cast<int32_t>(head_lines);
    for (;;) {
        uint32_t end_of_stream = 0;
        diff_block block{};
        if (tdm_get_next_diff(w->session, &end_of_stream, &block) != 0) {
            return 1;
        }
        if (end_of_stream != 0) {
            return 0;
        }
        if (weave_block(w, block) != 0) {
            return 1;
        }
    }
}

int write_weave(container_input *c, const new_version &v, const placement &place, const lineage *l,
                const char *predecessor_path, text_output *o, uint32_t *identical) {
    session_owner owner;
    const char *const names[] = {predecessor_path, v.text_path};
    if (tdm_create_session(2, names, &owner.session) != 0) {
        return 1;
    }
    tdm_set_operation_context(owner.session, 1, operation);
    // Without its name (reported) the session would take lines for equal by their hash alone.
    if (owner.session->op_name == nullptr) {
        return 1;
    }
    int same = 0;
    if (tdm_compare(owner.session, &same) != 0) {
        return 1;
    }
    if (same != 0) {
        // Only the numbers are compared, not the branches.
        *identical = v.version - 1 == v.predecessor ? 1 : 0;
    } else {
        weave_copy w{.c = c,
                     .o = o,
                     .l = l,
                     .session = owner.session,
                     .version = {place.branch, v.version},
                     .text_path = v.text_path,
                     .base_pos = 0};
        if (weave_differences(&w) != 0) {
            return 1;
        }
    }
    return copy_structure_until_ctrl_kind(0, c, o);
}

int store_version(const new_version &v, const char *container_path, const char *new_container_path,
                  uint32_t *identical) {
    container_input old_container;
    if (const int opened = open_container(&old_container, container_path, operation)) {
        return opened;
    }
    struct stat st {};
    if (futil_stat(container_path, 1, &st) != 0) {
        report_file_trouble(message::trouble_accessing, container_path);
        return 1;
    }
    old_container.in.file_size = static_cast<uint64_t>(st.st_size);
    uint64_t format = 0;
    placement place{};
    if (check_oid(v.version_oid) != 0 ||
        find_status_control_record(&old_container, &format, &place.highest_branch) != 0 ||
        place_version(&old_container, v, &place) != 0) {
        return status_failed;
    }
    lineage l;
    temporary_file predecessor;
    if (construct_lineage(&old_container, {place.branch, v.version}, true,
                          {place.base_branch, v.predecessor}, &l) != 0 ||
        reconstruct_predecessor(&old_container, &l, &predecessor) != 0) {
        return status_failed;
    }
    text_output new_container;
    if (const int opened = open_new_container(&new_container, new_container_path, operation,
                                              &old_container, v.text_path)) {
        return opened;
    }
    if (write_header(&old_container, v, place, &new_container) != 0 ||
        write_weave(&old_container, v, place, &l, predecessor.name, &new_container, identical) !=
            0) {
        return abandon_output(&new_container);
    }
    return finish_output(&new_container);
}

}  // namespace
}  // namespace tdm

int tdm_store_ver(uint64_t create_time, const char *version_oid, const char *branch_oid,
                  uint64_t version_num, const char *new_container_path, const void * /*unused*/,
                  const char *base_branch_oid, uint64_t pred_version_num,
                  const char *container_path, const char *version_file_path,
                  uint64_t /*unused_too*/, uint32_t *identical) {
    uint32_t ignored = 0;
    uint32_t *const flag = identical == nullptr ? &ignored : identical;
    *flag = 0;
    const tdm::new_version v{.create_time = create_time,
                             .version_oid = version_oid,
                             .branch_oid = branch_oid,
                             .version = version_num,
                             .base_branch_oid = base_branch_oid,
                             .predecessor = pred_version_num,
                             .text_path = version_file_path};
    return tdm::store_version(v, container_path, new_container_path, flag);
}
