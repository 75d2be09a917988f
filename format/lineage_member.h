// Which records belong to a version.
#pragma once

#include <algorithm>
#include <compare>
#include <cstdint>
#include <span>

namespace format {

// A version: branch and number, both as in the container.
struct version_id {
    std::uint64_t branch = 0;
    std::uint64_t number = 0;
    friend bool operator==(const version_id &, const version_id &) = default;
    friend auto operator<=>(const version_id &, const version_id &) = default;
};

// Whether the records of `id` belong to a lineage: the version itself first, then the branch point
// of its branch, and so on, with falling branch numbers. O(log of its length).
inline bool in_lineage(std::span<const version_id> lineage, version_id id) {
    const auto found =
        std::partition_point(lineage.begin(), lineage.end(),
                             [&](const version_id &bound) { return bound.branch > id.branch; });
    return found != lineage.end() && found->branch == id.branch && found->number >= id.number;
}

}  // namespace format
