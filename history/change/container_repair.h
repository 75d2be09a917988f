// What can be saved from a damaged container.
//
// A version is saved when nothing that is wrong with the container can concern its text: no line of
// it is damaged, every run and deletion that it is made of is whole, and no fault lies where it
// could have hidden or shown one of its lines. All other versions are lost; what the saved ones are
// built on stays as it does after a deletion, with commented-out records.
#ifndef NORVIK_CONTAINER_REPAIR_H
#define NORVIK_CONTAINER_REPAIR_H

#include <string>
#include <string_view>
#include <vector>

#include "container_check.h"
#include "failure.h"

namespace norvik {

// The element's identifier in place of a damaged one.
inline constexpr std::string_view lost_element = "lost-element";

struct lost_version {
    version_id id;
    damage why;
};

struct repair_verdict {
    std::vector<const version_record *> saved;
    std::vector<lost_version> lost;
    std::vector<version_id> renamed;  // saved ones whose identifiers are damaged
    std::vector<bool> alive;          // by position: the saved ones

    // Whether anything but empty first versions is saved.
    [[nodiscard]] bool worth_writing() const;
};

// With `drop_stray`, lines that belong to no run are nobody's and no reason for doubt.
[[nodiscard]] repair_verdict judge_versions(const container_view &view,
                                            const container_check &check, bool drop_stray);

// The identifier that a version gets whose own is lost.
[[nodiscard]] std::string lost_identifier(version_id id);

// A container with the saved versions, and no more of the others than these need.
[[nodiscard]] std::string repaired_container(const container_view &view,
                                             const container_check &check,
                                             const repair_verdict &verdict);

// Proves that the new container, called `name`, is sound and has every saved version with its text.
result<> prove_repaired(const container_view &view, const container_check &check,
                        const repair_verdict &verdict, const std::string &name, int descriptor);

}  // namespace norvik

#endif
