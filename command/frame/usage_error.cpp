// Words are compared by edit distance, a row of its table at a time: O(product of the lengths)
// time, which is nothing for words of a command line.
#include "usage_error.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "exit_status.h"
#include "output.h"

namespace norvik {

namespace {

std::size_t edit_distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); i++) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); j++) {
            const std::size_t replaced = diagonal + (a[i] != b[j]);
            diagonal = row[j + 1];
            row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
        }
    }
    return row[b.size()];
}

}  // namespace

exit_status usage_error(std::string_view command, const std::string &message) {
    const std::string help = command.empty() ? "tdm -h" : "tdm " + std::string(command) + " -h";
    say("%s (see '%s')", message.c_str(), help.c_str());
    return status_trouble;
}

std::string suggestion(std::string_view word, std::span<const std::string> candidates) {
    std::string_view nearest;
    // One letter in three may be wrong; past that a suggestion only misleads.
    std::size_t best = std::max<std::size_t>(1, word.size() / 3);
    for (const std::string &candidate : candidates) {
        const std::size_t distance = edit_distance(word, candidate);
        if (distance < best || (distance == best && nearest.empty())) {
            best = distance;
            nearest = candidate;
        }
    }
    return nearest.empty() ? "" : "; did you mean '" + std::string(nearest) + "'?";
}

}  // namespace norvik
