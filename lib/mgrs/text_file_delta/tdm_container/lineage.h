// Which (branch, version) records belong to a version, and where a branch stands in the header.
#pragma once

#include <cstdint>

#include "lineage_member.h"
#include "tdm_container/container_file.h"

namespace tdm {

using format::version_id;

/// The first pair is the version itself, each further one the branch point of the branch before it.
/// Branch numbers fall from pair to pair: a branch is always numbered above the one it was made
/// off. (A hostile header may say otherwise; its pairs are put into that order.)
struct lineage {
    lineage() = default;
    lineage(const lineage &) = delete;
    lineage &operator=(const lineage &) = delete;
    ~lineage();

    int32_t count = 0;
    version_id *pairs = nullptr;  // a grow_array
};

/// Whether a record of this version belongs to the lineage. Logarithmic in branch depth.
inline bool in_lineage(const lineage *l, version_id id) {
    return format::in_lineage({l->pairs, static_cast<size_t>(l->count)}, id);
}

/// A branch record's numbers.
struct branch_place {
    uint64_t branch;
    uint64_t parent_branch;
    uint64_t parent_version;
};

/// Reads on from where the container stands, up to the element record, for the living branch with
/// this oid. @returns 0 found; 2 not found and `missing_ok`, `place->branch` then being the highest
/// branch number met (0 without any); 1 after a reported failure.
[[nodiscard]] int find_branch_by_oid(container_input *c, const char *oid, bool missing_ok,
                                     branch_place *place);

/// The number of a new branch, one above the highest in use.
/// @param highest  what the status record says.
/// @param met      the highest number of the branch records; above `highest` the container is
///                 damaged, and a number taken twice would mix two branches up.
/// @returns 0, or 1 after reporting the status record.
[[nodiscard]] int next_branch_number(const container_input *c, uint64_t highest, uint64_t met,
                                     uint64_t *branch);

/// Works out the lineage of `version`, from the start of the container.
/// @param check_new  also refuse a version that is not above every recorded one of its branch,
///                   deleted ones included.
/// @param start      where tracing starts: the version itself, or the branch point of a branch that
///                   does not exist yet.
/// @returns 0, the container standing wherever tracing ended; 1 after a reported failure.
[[nodiscard]] int construct_lineage(container_input *c, version_id version, bool check_new,
                                    version_id start, lineage *l);

}  // namespace tdm
