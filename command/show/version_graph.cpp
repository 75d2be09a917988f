// The leftmost column is kept for branch 0 from the start, and drawn once a version of it has come;
// every other branch gets a new one at the right with its newest version.
#include "version_graph.h"

#include <algorithm>

namespace norvik {

version_graph::version_graph(const container_view &view, std::size_t most_columns)
    : most_columns_(most_columns), columns_{{0, false}} {
    for (const branch_record &branch : view.branches) {
        if (!branch.deleted && branch.number != 0) {
            hanging_[branch.parent].push_back(branch.number);
        }
    }
    for (auto &[point, branches] : hanging_) {
        std::sort(branches.begin(), branches.end());
    }
}

// The line in which column `from` runs into column `to` at its left; the columns behind move up.
std::string version_graph::join(std::size_t from, std::size_t to) {
    std::string line(2 * columns_.size(), ' ');
    for (std::size_t i = 0; i < columns_.size(); i++) {
        if (i < from) {
            line[2 * i] = columns_[i].begun ? '|' : ' ';
        } else {
            line[2 * i - 1] = columns_[i].begun ? '/' : ' ';
        }
    }
    for (std::size_t at = 2 * to + 1; at + 1 < 2 * from; at++) {
        line[at] = line[at] == ' ' ? '_' : line[at];
    }
    columns_.erase(columns_.begin() + static_cast<std::ptrdiff_t>(from));
    line.resize(std::min(line.size(), 2 * most_columns_));
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::string version_graph::draw(std::size_t at, char mark) const {
    const std::size_t shown = std::min(columns_.size(), most_columns_);
    std::string line(2 * shown, ' ');
    for (std::size_t i = 0; i < shown; i++) {
        line[2 * i] = i == at ? mark : columns_[i].begun ? '|' : ' ';
    }
    if (at >= shown) {
        line[2 * shown - 1] = '>';
        line += mark;
        line += ' ';
    }
    return line;
}

std::string version_graph::next(const version_record &version, std::vector<std::string> *joins) {
    joins->clear();
    // The version's own column and those of the branches made off it become one, the leftmost.
    std::vector<std::size_t> meeting;
    const auto hanging = hanging_.find(version.id);
    for (std::size_t i = 0; i < columns_.size(); i++) {
        const std::uint64_t branch = columns_[i].branch;
        if (branch == version.id.branch ||
            (hanging != hanging_.end() &&
             std::binary_search(hanging->second.begin(), hanging->second.end(), branch))) {
            meeting.push_back(i);
        }
    }
    if (meeting.empty()) {
        meeting.push_back(columns_.size());
        columns_.push_back({});
    }
    for (; meeting.size() > 1; meeting.pop_back()) {
        joins->push_back(join(meeting.back(), meeting.front()));
    }
    columns_[meeting.front()] = {version.id.branch, true};
    return draw(meeting.front(), version.deleted ? 'x' : '*');
}

std::string turned_over(std::string line) {
    std::replace(line.begin(), line.end(), '/', '\\');
    std::replace(line.begin(), line.end(), '_', '-');
    return line;
}

}  // namespace norvik
