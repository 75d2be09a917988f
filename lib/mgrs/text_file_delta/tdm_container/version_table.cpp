// Builds the version table in one pass over the header. The header is newest first, so a branch
// stands above the version it was made off, and a version's newer siblings stand above it: what a
// version's fate depends on is known when its record is met.
#include "tdm_container/version_table.h"

#include <cstring>
#include <type_traits>

#include "messages/messages.h"
#include "tdm_container/codec.h"

namespace tdm {
namespace {

constexpr uint32_t bucket_count = 511;
constexpr uint32_t growth_factor = 5;
constexpr uint32_t version_data_size = 32;
constexpr uint32_t branch_data_size = 16;
static_assert(sizeof(version_entry) <= version_data_size && sizeof(version_id) == 16);

/// The surviving version of a branch that was seen last: while the header is read the nearest newer
/// one, at its end the oldest.
struct branch_entry {
    uint64_t version;
    const char *oid;
};
static_assert(sizeof(branch_entry) == branch_data_size);

enum class disposition { keep, drop, comment_out };

struct header_pass {
    container_input *c;
    mem_area *area;
    hash_table *doomed;
    bool copy_oids;
    hash_table *versions;
    hash_table *branches;
};

/// Owner of the branch table, which lives only while the header is read.
struct branch_table {
    hash_table *entries = nullptr;
    branch_table() = default;
    branch_table(const branch_table &) = delete;
    branch_table &operator=(const branch_table &) = delete;
    ~branch_table() {
        if (entries != nullptr) {
            ht_delete(&entries);
        }
    }
};

hash_table *create_dynamic(uint32_t data_size, uint32_t key_size) {
    hash_table *table = ht_flen_create(bucket_count, data_size, 1, key_size);
    if (table != nullptr) {
        ht_set_dynamic(table, growth_factor);
    }
    return table;
}

/// The data under `key`, zeroed when it is new; null (reported) when memory is short.
template <typename Data, typename Key>
Data *enter(hash_table *table, const Key &key) {
    static_assert(std::is_trivially_copyable_v<Data>);
    void *stored_key = nullptr;
    void *data = nullptr;
    const bool created = ht_flen_enter(table, &key, &stored_key, &data) == 0;
    if (data == nullptr) {
        report_out_of_memory();
        return nullptr;
    }
    if (created) {
        std::memset(data, 0, sizeof(Data));
    }
    return static_cast<Data *>(data);
}

template <typename Data, typename Key>
Data *lookup(hash_table *table, const Key &key) {
    void *stored_key = nullptr;
    void *data = nullptr;
    return ht_flen_lookup(table, &key, &stored_key, &data) != 0 ? static_cast<Data *>(data)
                                                                : nullptr;
}

bool is_doomed(const header_pass &pass, const char *oid) {
    void *stored_key = nullptr;
    void *data = nullptr;
    return pass.doomed != nullptr && ht_str_lookup(pass.doomed, oid, &stored_key, &data) != 0;
}

int bad_record(const header_pass &pass) {
    report_bad_record(pass.c->in.file_name, pass.c->line.data());
    return 1;
}

/// A version that stays reachable, alive or as a branch point, is what older ones of its branch
/// are represented by.
int note_surviving(const header_pass &pass, version_id version, const char *oid,
                   version_entry *entry) {
    if (pass.copy_oids) {
        entry->oid = mem_area_strdup(pass.area, oid);
        if (entry->oid == nullptr) {
            report_out_of_memory();
            return 1;
        }
    }
    auto *branch = enter<branch_entry>(pass.branches, version.branch);
    if (branch == nullptr) {
        return 1;
    }
    *branch = {version.number, entry->oid};
    return 0;
}

int judge_version(const header_pass &pass, const char *record, bool commented,
                  disposition *verdict) {
    oid_buffer oid;
    version_id version;
    uint64_t created = 0;
    if (tdm_cntutl_decode_cre_ver(record, oid, &version.branch, &version.number, &created) != 0) {
        return bad_record(pass);
    }
    auto *entry = enter<version_entry>(pass.versions, version);
    if (entry == nullptr) {
        return 1;
    }
    if (commented || is_doomed(pass, oid)) {
        entry->deleted = 1;
    }
    if (entry->deleted == 0 || entry->branch_point != 0) {
        if (note_surviving(pass, version, oid, entry) != 0) {
            return 1;
        }
    } else if (const auto *newer = lookup<branch_entry>(pass.branches, version.branch)) {
        entry->successor = newer->version;
        entry->oid = newer->oid;
    } else {
        entry->successor = 0;
        entry->oid = nullptr;
    }
    if (entry->deleted == 0) {
        *verdict = disposition::keep;
    } else if (entry->branch_point == 0 && entry->successor == 0) {
        *verdict = disposition::drop;
    } else {
        *verdict = disposition::comment_out;
    }
    return 0;
}

int judge_deleted_branch(const header_pass &pass, uint64_t branch, bool commented,
                         const branch_entry *oldest, disposition *verdict) {
    *verdict = disposition::drop;
    if (oldest == nullptr) {
        return 0;
    }
    if (!commented || oldest->version != 0) {
        report_failure(message::version_still_active, static_cast<unsigned>(oldest->version),
                       static_cast<unsigned>(branch), pass.c->in.file_name);
        return 1;
    }
    auto *first = lookup<version_entry>(pass.versions, version_id{branch, 0});
    if (first == nullptr) {
        constexpr int reported_line = 769;
        report_inconsistency(container_unit, reported_line);
        return 1;
    }
    first->deleted = 1;
    return 0;
}

int judge_branch(const header_pass &pass, const char *record, bool commented,
                 disposition *verdict) {
    oid_buffer oid;
    branch_place place;
    if (tdm_cntutl_decode_cre_bra(record, oid, &place.branch, &place.parent_branch,
                                  &place.parent_version) != 0) {
        return bad_record(pass);
    }
    const auto *oldest = lookup<branch_entry>(pass.branches, place.branch);
    if (commented || is_doomed(pass, oid)) {
        return judge_deleted_branch(pass, place.branch, commented, oldest, verdict);
    }
    if (oldest == nullptr) {
        *verdict = disposition::drop;
        return 0;
    }
    auto *point =
        enter<version_entry>(pass.versions, version_id{place.parent_branch, place.parent_version});
    if (point == nullptr) {
        return 1;
    }
    point->branch_point = 1;
    *verdict = disposition::keep;
    return 0;
}

int rewrite(text_output *rewritten, std::string_view record, disposition verdict) {
    switch (verdict) {
        case disposition::drop:
            return 0;
        case disposition::comment_out:
            if (write_text(rewritten, format::comment_prefix) != 0) {
                return 1;
            }
            [[fallthrough]];
        case disposition::keep:
            return write_text(rewritten, record);
    }
    return 0;
}

int read_header(const header_pass &pass, text_output *rewritten) {
    for (;;) {
        bool at_eof = false;
        if (next_line(pass.c, &at_eof) != 0) {
            return 1;
        }
        if (at_eof) {
            report_failure(message::unexpected_eof, pass.c->in.file_name);
            return 1;
        }
        bool commented = false;
        const std::string_view record = without_comment(pass.c->line, &commented);
        auto verdict = disposition::keep;
        if (is_record(record, format::kind_version)) {
            if (judge_version(pass, record.data(), commented, &verdict) != 0) {
                return 1;
            }
        } else if (is_record(record, format::kind_branch)) {
            if (judge_branch(pass, record.data(), commented, &verdict) != 0) {
                return 1;
            }
        }
        // Any other line without its newline is the last one, and the header then has no end.
        const bool last = is_record(record, format::kind_element);
        if (rewritten != nullptr &&
            ((last && check_line_end(pass.c) != 0) || rewrite(rewritten, record, verdict) != 0)) {
            return 1;
        }
        if (last) {
            return 0;
        }
    }
}

}  // namespace

const version_entry *find_version(const version_table *table, version_id version) {
    return lookup<version_entry>(table->entries, version);
}

int create_ver_ht(mem_area *area, container_input *c, text_output *rewritten, hash_table *doomed,
                  bool copy_oids, version_table *table) {
    table->entries = create_dynamic(version_data_size, sizeof(version_id));
    branch_table branches;
    branches.entries = create_dynamic(branch_data_size, sizeof(uint64_t));
    if (table->entries == nullptr || branches.entries == nullptr) {
        return 1;
    }
    const header_pass pass{.c = c,
                           .area = area,
                           .doomed = doomed,
                           .copy_oids = copy_oids,
                           .versions = table->entries,
                           .branches = branches.entries};
    return read_header(pass, rewritten);
}

}  // namespace tdm
