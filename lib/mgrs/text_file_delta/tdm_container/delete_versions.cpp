// tdm_delete_versions_and_branches: the container without some versions and branches, in one pass.
//
// A deleted version on which something depends, a newer version of its branch or a branch made off
// it, only disappears from view: others are reconstructed through its records. Everything else that
// is deleted leaves the file with its lines.
#include <cerrno>

#include "messages/messages.h"
#include "tdm_container/codec.h"
#include "tdm_container/container_file.h"
#include "tdm_container/excess_lines.h"
#include "tdm_container/version_table.h"
#include "tdm_container/weave_walker.h"
#include "tdm_session/grow_array.h"

namespace tdm {
namespace {

constexpr char operation[] = "delete_branches_versions";
constexpr uint32_t doomed_buckets = 63;
constexpr uint64_t stack_capacity = 16;

/// The oids to delete, those of versions and those of branches alike.
struct doomed_set {
    doomed_set() = default;
    doomed_set(const doomed_set &) = delete;
    doomed_set &operator=(const doomed_set &) = delete;
    ~doomed_set() {
        if (oids != nullptr) {
            ht_delete(&oids);
        }
    }

    hash_table *oids = nullptr;
};

/// What becomes of the runs and deletions of a version.
enum class run_state : uint32_t {
    living = 1,
    dropped = 2,
    kept_for_successor = 3,
    kept_for_branch = 4,
};

struct open_run {
    run_state state;
    uint64_t remaining;  // lines of the run not seen yet; lines of runs inside it do not count
};

/// The open insert runs, innermost last.
struct run_stack {
    run_stack() = default;
    run_stack(const run_stack &) = delete;
    run_stack &operator=(const run_stack &) = delete;
    ~run_stack() { array_release(&runs); }

    open_run *runs = nullptr;
    uint64_t open = 0;
};

struct oid_list {
    int32_t count;
    const char *const *oids;
};

/// Whether a list can be read at all. None of it is touched when it cannot.
int check_list(const oid_list &list) {
    if (list.count > 0 && list.oids == nullptr) {
        report_failure_text("The list of versions and branches to delete is not valid.\n");
        return 1;
    }
    for (int32_t i = 0; i < list.count; ++i) {
        if (list.oids[i] == nullptr) {
            report_failure_text("The list of versions and branches to delete is not valid.\n");
            return 1;
        }
    }
    return 0;
}

int enter_list(doomed_set *doomed, const oid_list &list) {
    for (int32_t i = 0; i < list.count; ++i) {
        void *key = nullptr;
        void *data = nullptr;
        ht_str_enter(doomed->oids, list.oids[i], &key, &data);
        // A set that could not take an oid would keep what was asked to be deleted.
        if (ht_str_lookup(doomed->oids, list.oids[i], &key, &data) == 0) {
            report_out_of_memory();
            return 1;
        }
    }
    return 0;
}

int fill_doomed(doomed_set *doomed, const oid_list &first, const oid_list &second) {
    doomed->oids = ht_str_create(doomed_buckets, 0, 0);
    if (doomed->oids == nullptr) {
        report_out_of_memory();
        return 1;
    }
    return enter_list(doomed, first) != 0 || enter_list(doomed, second) != 0 ? 1 : 0;
}

run_state state_of(const version_entry &entry) {
    if (entry.deleted == 0) {
        return run_state::living;
    }
    if (entry.branch_point != 0) {
        return run_state::kept_for_branch;
    }
    return entry.successor != 0 ? run_state::kept_for_successor : run_state::dropped;
}

/// Decodes the current `I` or `D` record and looks its version up.
/// @param reported_line  number that the report of an unlisted version names.
int judge_run(const container_input *c, const version_table *versions, int reported_line,
              run_record *run, run_state *state) {
    if (decode_run(c, run) != 0) {
        return 1;
    }
    const version_entry *entry = find_version(versions, run->version);
    if (entry == nullptr) {
        report_inconsistency(container_unit, reported_line);
        return 1;
    }
    *state = state_of(*entry);
    return 0;
}

int pass_deletion(const container_input *c, const version_table *versions, line_copy *out) {
    constexpr int reported_line = 2518;
    run_record run;
    run_state state{};
    if (judge_run(c, versions, reported_line, &run, &state) != 0) {
        return 1;
    }
    return state == run_state::dropped ? 0 : copy_line(out);
}

/// A run that counts no lines opens nothing: its counter would wrap and swallow what follows.
int pass_insertion(const container_input *c, const version_table *versions, run_stack *stack,
                   line_copy *out) {
    constexpr int reported_line = 292;
    run_record run;
    run_state state{};
    if (judge_run(c, versions, reported_line, &run, &state) != 0) {
        return 1;
    }
    if (run.line_count != 0) {
        if (array_reserve(&stack->runs, stack->open) != 0) {
            report_out_of_memory();
            return 1;
        }
        stack->runs[stack->open++] = {state, run.line_count};
    }
    return state == run_state::dropped ? 0 : copy_line(out);
}

int pass_text(run_stack *stack, line_copy *out) {
    if (stack->open == 0) {
        return report_excess_lines();
    }
    open_run &top = stack->runs[stack->open - 1];
    if (top.state != run_state::dropped && copy_line(out) != 0) {
        return 1;
    }
    if (--top.remaining == 0) {
        --stack->open;
    }
    return 0;
}

int pass_weave(container_input *c, const version_table *versions, text_output *o) {
    line_copy out(c, o);
    run_stack stack;
    stack.runs = array_create<open_run>(stack_capacity);
    if (stack.runs == nullptr) {
        report_out_of_memory();
        return 1;
    }
    for (;;) {
        bool at_eof = false;
        if (next_line(c, &at_eof) != 0) {
            return 1;
        }
        if (at_eof) {
            return flush_copy(&out);
        }
        std::string_view text;
        int status = 0;
        if (stored_text(c->line, true, &text)) {
            status = pass_text(&stack, &out);
        } else if (is_record(c->line, format::kind_delete)) {
            status = pass_deletion(c, versions, &out);
        } else if (is_record(c->line, format::kind_insert)) {
            status = pass_insertion(c, versions, &stack, &out);
        }
        if (status != 0) {
            return 1;
        }
    }
}

}  // namespace
}  // namespace tdm

int tdm_delete_versions_and_branches(const char *container_path, const char *new_container_path,
                                     int32_t oid_count_1, const char *const *oids_1,
                                     int32_t oid_count_2, const char *const *oids_2) {
    const tdm::oid_list first{oid_count_1 < 0 ? 0 : oid_count_1, oids_1};
    const tdm::oid_list second{oid_count_2 < 0 ? 0 : oid_count_2, oids_2};
    tdm::container_input old_container;
    if (const int opened = tdm::open_container(&old_container, container_path, tdm::operation)) {
        return opened;
    }
    uint64_t format = 0;
    uint64_t highest_branch = 0;
    if (tdm::check_list(first) != 0 || tdm::check_list(second) != 0 ||
        tdm::find_status_control_record(&old_container, &format, &highest_branch) != 0) {
        return tdm::status_failed;
    }
    tdm::text_output new_container;
    if (const int opened = tdm::open_new_container(&new_container, new_container_path,
                                                   tdm::operation, &old_container, nullptr)) {
        return opened;
    }
    tdm::doomed_set doomed;
    tdm::version_table versions;
    if (tdm_cntutl_encode_status(&new_container.out, format::known_format, highest_branch) != 0 ||
        tdm::fill_doomed(&doomed, first, second) != 0 ||
        tdm::create_ver_ht(nullptr, &old_container, &new_container, doomed.oids, false,
                           &versions) != 0 ||
        tdm::pass_weave(&old_container, &versions, &new_container) != 0) {
        return tdm::abandon_output(&new_container);
    }
    return tdm::finish_output(&new_container);
}
