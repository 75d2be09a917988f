// What can be saved from a damaged container.
//
// A version is saved when nothing that is wrong with the container can concern its text: no line of
// it is damaged, every run and deletion that it is made of is whole, and no fault lies where it
// could have hidden or shown one of its lines. All other versions are lost; what the saved ones are
// built on stays as it does after a deletion, with commented-out records.
#ifndef NORVIK_CONTAINER_REPAIR_H
#define NORVIK_CONTAINER_REPAIR_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "container_check.h"
#include "file_replace.h"

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

// A repair that is decided and not yet made.
struct repair_plan {
    container_check check;
    repair_verdict verdict;

    // The container has faults, and they leave nothing that is worth a new one.
    [[nodiscard]] bool saves_nothing() const;
};

[[nodiscard]] repair_plan plan_repair(const container_view &view, bool drop_stray);

// Makes the repaired container in the place of the locked output, proven to be sound and to have
// every saved version with its text. `last_look` gets what came of the proof and may refuse the new
// container, where the damaged one has changed meanwhile; what it returns counts.
result<> write_repair(const container_view &view, const repair_plan &plan, file_replacement *output,
                      const std::function<result<>(result<> proven)> &last_look);

}  // namespace norvik

#endif
