// The tree of versions drawn beside a list of them: one column a branch, newest version on top.
//
//     | * draft@2         a version of the branch in the second column
//     | * draft@1
//     |/                  the branch meets the version that it was made off
//     * main@3
#ifndef NORVIK_VERSION_GRAPH_H
#define NORVIK_VERSION_GRAPH_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "container_view.h"

namespace norvik {

class version_graph {
public:
    // Versions of branches whose columns do not fit are drawn at the edge, behind a >.
    explicit version_graph(const container_view &view, std::size_t most_columns = 16);

    // Draws the next version, in the order of the header: * for one, x for one that is deleted but
    // kept. `joins` receives the lines that come before it, where branches meet it; the result is
    // what stands before the version itself. O(columns).
    std::string next(const version_record &version, std::vector<std::string> *joins);

private:
    struct column {
        std::uint64_t branch;
        bool begun;  // a version of it has been drawn
    };

    std::string join(std::size_t from, std::size_t to);
    std::string draw(std::size_t at, char mark) const;

    const std::size_t most_columns_;
    std::vector<column> columns_;
    std::unordered_map<version_id, std::vector<std::uint64_t>, version_id_hash> hanging_;
};

// A drawn line as it looks when the list stands on its head.
[[nodiscard]] std::string turned_over(std::string line);

}  // namespace norvik

#endif
