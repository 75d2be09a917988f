// Reads many consecutive versions of one branch back from a container and compares each with its
// text. One pass over the weave finds which of them hold each stretch of lines; then every version
// costs its own text: O(bytes + (records + stretches) x log versions) and the texts' lines.
#ifndef NORVIK_HISTORY_PROOF_H
#define NORVIK_HISTORY_PROOF_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "container_view.h"

namespace norvik {

class history_proof {
public:
    // For the `count` newest versions of a branch, the first of which is `first`. None of them may
    // be a branch point. Keeps views into the container.
    history_proof(const container_view &view, version_id first, std::uint32_t count);

    // Whether the next version, from `first` on, reads back as `text`.
    [[nodiscard]] bool next_equals(std::string_view text);

private:
    // A stretch of text, held by the versions from one number to another, counted from `first`.
    struct held_text {
        std::uint32_t since;
        std::uint32_t until;
        std::size_t place;  // among the stretches of the weave
        std::string_view text;
    };

    void find_texts(std::uint32_t count);

    const container_view &view_;
    version_id next_;
    std::uint32_t ordinal_ = 0;     // of the next version
    std::vector<held_text> texts_;  // in order of `since` and place
    std::size_t taken_ = 0;         // those that the versions before have begun to hold
    std::vector<held_text> held_;   // by the version before, in order of place
    bool faulty_ = false;           // the weave has faults, so that stretches say nothing certain
};

}  // namespace norvik

#endif
