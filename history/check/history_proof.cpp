// The stretches that a version holds are those of the version before, less those that end with it
// and with those that begin: kept in the order of the weave by a merge, so that a version costs the
// stretches that it holds and its bytes. 32 bytes are kept for every stretch and range of holders.
#include "history_proof.h"

#include <algorithm>

#include "proof.h"
#include "weave_cursor.h"

namespace norvik {

history_proof::history_proof(const container_view &view, version_id first, std::uint32_t count)
    : view_(view), next_(first) {
    find_texts(count);
}

void history_proof::find_texts(std::uint32_t count) {
    const version_tree tree = build_version_tree(view_);
    const std::uint32_t start = position_of(tree, next_);
    if (start == no_position) {
        faulty_ = true;
        return;
    }
    const position_range ours{start, start + count};
    weave_cursor cursor(view_, tree);
    weave_stretch stretch;
    std::vector<position_range> holders;
    for (std::size_t place = 0; cursor.next(&stretch); place++) {
        holders.clear();
        cursor.holders(stretch, ours, &holders);
        for (const position_range &part : holders) {
            texts_.push_back(
                {part.first - start, part.end - start, place,
                 stretch.kind == format::kind_plain ? stretch.bytes : text_of(stretch.bytes)});
        }
    }
    faulty_ = !cursor.faults().empty();
    std::stable_sort(texts_.begin(), texts_.end(),
                     [](const held_text &a, const held_text &b) { return a.since < b.since; });
}

bool history_proof::next_equals(std::string_view text) {
    const version_id id = next_;
    next_.number++;
    // Then each version is read by itself, as whoever checks it out will read it.
    if (faulty_) {
        return version_equals(view_, id, text);
    }
    const auto ends = [this](const held_text &held) { return held.until <= ordinal_; };
    held_.erase(std::remove_if(held_.begin(), held_.end(), ends), held_.end());
    const auto kept = static_cast<std::ptrdiff_t>(held_.size());
    for (; taken_ < texts_.size() && texts_[taken_].since == ordinal_; taken_++) {
        held_.push_back(texts_[taken_]);
    }
    std::inplace_merge(held_.begin(), held_.begin() + kept, held_.end(),
                       [](const held_text &a, const held_text &b) { return a.place < b.place; });
    ordinal_++;
    for (const held_text &held : held_) {
        if (!text.starts_with(held.text)) {
            return false;
        }
        text.remove_prefix(held.text.size());
    }
    return text.empty();
}

}  // namespace norvik
