// tdm_get_cont_info: the tree of an element as a short listing, one line a header record, with oids
// in place of numbers. Two passes: the first learns the oids of all branches and versions (and
// meets every bad record of the file), the second writes.
#include <cstring>

#include "messages/messages.h"
#include "tdm_container/codec.h"
#include "tdm_container/container_file.h"
#include "tdm_container/lineage.h"
#include "tdm_container/listed_record.h"

namespace tdm {
namespace {

constexpr char operation[] = "get_cont_info";
constexpr char no_oid[] = "NIL";
constexpr uint32_t branch_buckets = 127;
constexpr uint32_t version_buckets = 1024;
constexpr uint32_t oid_data_size = format::longest_written_oid + 1;

struct oid_tables {
    oid_tables() = default;
    oid_tables(const oid_tables &) = delete;
    oid_tables &operator=(const oid_tables &) = delete;
    ~oid_tables() {
        if (branches != nullptr) {
            ht_delete(&branches);
        }
        if (versions != nullptr) {
            ht_delete(&versions);
        }
    }

    hash_table *branches = ht_int_create(branch_buckets, oid_data_size);
    hash_table *versions = ht_flen_create(version_buckets, oid_data_size, 1, sizeof(version_id));
};

const char *branch_oid(const oid_tables &tables, uint64_t branch) {
    void *key = nullptr;
    void *data = nullptr;
    return ht_int_lookup(tables.branches, branch, &key, &data) != 0 ? static_cast<char *>(data)
                                                                    : no_oid;
}

const char *version_oid(const oid_tables &tables, version_id version) {
    void *key = nullptr;
    void *data = nullptr;
    return ht_flen_lookup(tables.versions, &version, &key, &data) != 0 ? static_cast<char *>(data)
                                                                       : no_oid;
}

int keep_oid(void *data, const char *oid) {
    if (data == nullptr) {
        report_out_of_memory();
        return 1;
    }
    std::memcpy(data, oid, std::strlen(oid) + 1);
    return 0;
}

int learn(const listed_record &r, const oid_tables &tables) {
    void *key = nullptr;
    void *data = nullptr;
    if (r.kind == format::kind_version) {
        const version_id version{r.first, r.second};
        ht_flen_enter(tables.versions, &version, &key, &data);
        return keep_oid(data, r.oid);
    }
    if (r.kind == format::kind_branch) {
        ht_int_enter(tables.branches, r.first, &key, &data);
        return keep_oid(data, r.oid);
    }
    return 0;
}

/// Single writes are not checked: the flush at the end reports what could not be written.
void list(const listed_record &r, const oid_tables &tables, FILE *out) {
    switch (r.kind) {
        case format::kind_version:
            fprintf(out, "V %s %ld %s %08X\n", r.oid, static_cast<long>(r.second),
                    branch_oid(tables, r.first), static_cast<unsigned>(r.third));
            return;
        case format::kind_branch:
            if (r.first == 0) {
                fprintf(out, "B %s %s %s %s %s\n", r.oid, no_oid, no_oid, no_oid, no_oid);
            } else {
                fprintf(out, "B %s %s %s %ld %s\n", r.oid, branch_oid(tables, r.second),
                        version_oid(tables, {r.second, r.third}), static_cast<long>(r.third),
                        no_oid);
            }
            return;
        default:
            fprintf(out, "E %s %s %s\n", r.oid, branch_oid(tables, 0), no_oid);
    }
}

/// Walks the records that the listing is made of, up to the end of the file, or, when `out` is
/// given, up to the element record.
int pass(container_input *c, const oid_tables &tables, FILE *out) {
    uint64_t format = 0;
    uint64_t highest_branch = 0;
    if (find_status_control_record(c, &format, &highest_branch) != 0) {
        return 1;
    }
    for (long line_number = 2;; ++line_number) {
        bool at_eof = false;
        if (next_line(c, &at_eof) != 0) {
            return 1;
        }
        if (at_eof) {
            if (out == nullptr) {
                return 0;
            }
            report_failure(message::unexpected_eof, c->in.file_name);
            return 1;
        }
        listed_record r;
        if (read_listed_record(c, line_number, format::longest_written_oid, &r) != 0) {
            return 1;
        }
        if (r.kind != format::kind_version && r.kind != format::kind_branch &&
            r.kind != format::kind_element) {
            continue;
        }
        if (out == nullptr) {
            if (learn(r, tables) != 0) {
                return 1;
            }
            continue;
        }
        list(r, tables, out);
        if (r.kind == format::kind_element) {
            return 0;
        }
    }
}

}  // namespace
}  // namespace tdm

int tdm_get_cont_info(const char *container_path, const char *output_path) {
    tdm::oid_tables tables;
    if (tables.branches == nullptr || tables.versions == nullptr) {
        return tdm::status_failed;
    }
    tdm::container_input container;
    if (const int opened = tdm::open_container(&container, container_path, tdm::operation)) {
        return opened;
    }
    tdm::text_output output;
    if (const int opened =
            tdm::open_output(&output, output_path, tdm::operation, &container, nullptr)) {
        return opened;
    }
    if (tdm::pass(&container, tables, nullptr) != 0 || tdm::rewind_container(&container) != 0 ||
        tdm::pass(&container, tables, output.out.stream) != 0) {
        return tdm::status_failed;
    }
    return tdm::finish_listing(&output);
}
