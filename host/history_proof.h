// Reads many consecutive versions of one branch back from a container and compares each with its
// text. The weave is decoded once; each version then costs O(records + its text).
#ifndef TDM_HOST_HISTORY_PROOF_H
#define TDM_HOST_HISTORY_PROOF_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "container_view.h"

namespace host {

class history_proof {
public:
    // The versions to be read back are those of the branch from number `first` on; `lineage` is
    // that of the text before them. Keeps views into the container.
    history_proof(const container_view &view, const std::vector<version_id> &lineage,
                  uint64_t branch, uint64_t first);

    // Whether version `number` of the branch reads back as `text`.
    [[nodiscard]] bool equals(uint64_t number, std::string_view text) const;

private:
    // A decoded record, or text lines between two records. For an insertion `since` is the first
    // version that has its lines, for a deletion the first that lacks them: 0 stands for the text
    // before, `never` for no version of ours.
    struct event {
        enum { insertion, deletion, text } kind;
        uint64_t since;
        uint64_t lines;
        std::string_view bytes;  // the lines' text as a version holds it
    };
    static constexpr uint64_t never = UINT64_MAX;

    void add_text(std::string_view stored_line);

    std::vector<event> events_;
};

}  // namespace host

#endif
