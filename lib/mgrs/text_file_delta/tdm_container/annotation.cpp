// The annotated weave walk. Two stacks hold the open insert and delete runs; a line belongs to the
// innermost insert run, and a deleted line is named after the innermost delete run. Their depth is
// the nesting of runs. A run that counts no lines is never opened: nothing would ever close it.
#include <cstring>

#include "annotation_tag.h"
#include "messages/messages.h"
#include "tdm_container/codec.h"
#include "tdm_container/excess_lines.h"
#include "tdm_container/version_table.h"
#include "tdm_container/weave_walker.h"
#include "tdm_session/grow_array.h"

namespace tdm {
namespace {

constexpr uint64_t stack_capacity = 16;
constexpr size_t area_block_size = 8000;
constexpr char unlisted_oid[] = "00000000000000000000000000000000";

struct insert_event {
    uint64_t remaining;
    const char *oid;  // null: a deleted version with nothing left to stand for it
    uint32_t visible;
};

struct delete_event {
    uint64_t remaining;
    const char *oid;
};

struct annotation_state {
    annotation_state() = default;
    annotation_state(const annotation_state &) = delete;
    annotation_state &operator=(const annotation_state &) = delete;
    ~annotation_state() {
        array_release(&inserts);
        array_release(&deletes);
    }

    uint64_t inserts_open = 0;
    uint64_t deletes_open = 0;
    uint32_t flags = 0;
    insert_event *inserts = nullptr;
    delete_event *deletes = nullptr;
    uint64_t skip = 0;  // text lines still to be passed over without being part of the version
    const version_table *versions = nullptr;
};

/// Owner of the area that holds the oids of the table's versions.
struct oid_area {
    mem_area *area = mem_area_create(area_block_size);
    oid_area() = default;
    oid_area(const oid_area &) = delete;
    oid_area &operator=(const oid_area &) = delete;
    ~oid_area() {
        if (area != nullptr) {
            mem_area_delete(&area);
        }
    }
};

template <typename Event>
int push(Event **stack, uint64_t *open, const Event &event) {
    if (array_reserve(stack, *open) != 0) {
        *open = 0;
        report_out_of_memory();
        return 1;
    }
    (*stack)[(*open)++] = event;
    return 0;
}

int ann_push_event(annotation_state *a, const run_record &run, bool is_insert, bool visible) {
    if (run.line_count == 0) {
        return 0;
    }
    // An entry without oid that is not deleted was only named as a branch point: its version is not
    // listed, and its lines are shown like those of any such version rather than left out.
    const version_entry *entry = find_version(a->versions, run.version);
    const bool listed = entry != nullptr && (entry->deleted != 0 || entry->oid != nullptr);
    const char *oid = listed ? entry->oid : unlisted_oid;
    if (is_insert) {
        return push(&a->inserts, &a->inserts_open, {run.line_count, oid, visible ? 1U : 0U});
    }
    return push(&a->deletes, &a->deletes_open, {run.line_count, oid});
}

/// Writes "TAG OID[,OID] TEXT"; the text keeps the newline of its stored line.
int write_annotated(text_output *o, format::annotation_tag tag, const char *oid,
                    const char *deleter, std::string_view text) {
    char prefix[4 + 2 * sizeof(oid_buffer)] = {tag, ' '};
    char *end = stpcpy(prefix + 2, oid);
    if (deleter != nullptr) {
        *end++ = ',';
        end = stpcpy(end, deleter);
    }
    *end++ = ' ';
    const std::string_view head(prefix, static_cast<size_t>(end - prefix));
    return write_text(o, head) != 0 || write_text(o, text) != 0 ? 1 : 0;
}

/// A line that is deleted within the lineage uses up one line of the innermost delete run whether
/// it is shown, not asked for, or of a version that nothing stands for: else the next deleted lines
/// would be put down to the wrong run.
int annotate_deleted_line(annotation_state *a, const insert_event &top, std::string_view text,
                          text_output *o) {
    if (a->deletes_open == 0) {
        return report_excess_lines();
    }
    delete_event &deletion = a->deletes[a->deletes_open - 1];
    if (top.oid != nullptr && (a->flags & (tdm_annotate_deleted | tdm_annotate_all)) != 0) {
        const char *deleter = deletion.oid == nullptr ? unlisted_oid : deletion.oid;
        if (write_annotated(o, format::tag_deleted, top.oid, deleter, text) != 0) {
            return 1;
        }
    }
    if (--deletion.remaining == 0) {
        --a->deletes_open;
    }
    return 0;
}

int annotate_text(annotation_state *a, std::string_view text, text_output *o) {
    if (a->inserts_open == 0) {
        return report_excess_lines();
    }
    insert_event &top = a->inserts[a->inserts_open - 1];
    int status = 0;
    if (top.visible == 0) {
        if (top.oid != nullptr && (a->flags & tdm_annotate_all) != 0) {
            status = write_annotated(o, format::tag_foreign, top.oid, nullptr, text);
        }
    } else if (a->skip != 0) {
        status = annotate_deleted_line(a, top, text, o);
    } else if (top.oid != nullptr) {
        status = write_annotated(o, format::tag_own, top.oid, nullptr, text);
    }
    if (--top.remaining == 0) {
        --a->inserts_open;
    }
    if (a->skip != 0) {
        --a->skip;
    }
    return status;
}

int annotate_run(annotation_state *a, bool is_insert, const lineage *l, const container_input *c) {
    run_record run;
    if (decode_run(c, &run) != 0) {
        return 1;
    }
    const bool member = in_lineage(l, run.version);
    if (member != is_insert && add_to_skip(c, run, &a->skip) != 0) {
        return 1;
    }
    return is_insert || member ? ann_push_event(a, run, is_insert, member) : 0;
}

int walk_annotated(annotation_state *a, const lineage *l, container_input *c, text_output *o) {
    for (;;) {
        bool at_eof = false;
        if (next_line(c, &at_eof) != 0) {
            return 1;
        }
        if (at_eof) {
            return 0;
        }
        std::string_view text;
        if (stored_text(c->line, true, &text)) {
            if (annotate_text(a, text, o) != 0) {
                return 1;
            }
        } else if (is_record(c->line, format::kind_insert) ||
                   is_record(c->line, format::kind_delete)) {
            if (annotate_run(a, c->line[1] == format::kind_insert, l, c) != 0) {
                return 1;
            }
        }
    }
}

}  // namespace

int annotate_weave(uint32_t annotation_flags, const lineage *l, container_input *c,
                   text_output *o) {
    const oid_area oids;
    version_table versions;
    annotation_state state;
    state.flags = annotation_flags;
    state.inserts = array_create<insert_event>(stack_capacity);
    state.deletes = array_create<delete_event>(stack_capacity);
    if (oids.area == nullptr || state.inserts == nullptr || state.deletes == nullptr) {
        report_out_of_memory();
        return 1;
    }
    if (rewind_container(c) != 0 ||
        create_ver_ht(oids.area, c, nullptr, nullptr, true, &versions) != 0) {
        return 1;
    }
    state.versions = &versions;
    return walk_annotated(&state, l, c, o);
}

}  // namespace tdm
