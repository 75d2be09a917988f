// The table of a container's versions, and the rewriting of its header that goes with building it.
#pragma once

#include <norviktdm/runtime.h>

#include <cstdint>

#include "tdm_container/container_file.h"
#include "tdm_container/lineage.h"

namespace tdm {

/// What the header says of one version; zero when it says nothing.
struct version_entry {
    uint32_t deleted;       // its record is commented out, or it is being deleted
    uint32_t branch_point;  // a surviving branch was made off it
    // Its own; for a deleted version that is no branch point that of the nearest newer surviving
    // version of its branch; null: none, or none asked.
    const char *oid;
    uint64_t successor;  // for a deleted version the number of that nearest newer one, 0: none
};

/// Owner of a table keyed by version_id.
struct version_table {
    version_table() = default;
    version_table(const version_table &) = delete;
    version_table &operator=(const version_table &) = delete;
    ~version_table() {
        if (entries != nullptr) {
            ht_delete(&entries);
        }
    }

    hash_table *entries = nullptr;
};

/// The entry of a version, or null when the header does not list it.
const version_entry *find_version(const version_table *table, version_id version);

/// Reads the header, from the status record or the line after it up to the element record.
/// @param area      takes copies of oids; may be null when none are asked for.
/// @param rewritten receives the header with what is deleted dropped or commented out; may be null.
/// @param doomed    string set of oids (versions' and branches') to delete; may be null.
/// @param copy_oids whether entries get oids.
/// @returns 0, the container standing just after the element record; 1 after a failure, reported
///          but for a table that cannot be created.
[[nodiscard]] int create_ver_ht(mem_area *area, container_input *c, text_output *rewritten,
                                hash_table *doomed, bool copy_oids, version_table *table);

}  // namespace tdm
