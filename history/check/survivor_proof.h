// Proves that a container without some of its versions says of every other one what it said before.
#ifndef NORVIK_SURVIVOR_PROOF_H
#define NORVIK_SURVIVOR_PROOF_H

#include <functional>

#include "container_view.h"
#include "version_tree.h"

namespace norvik {

// Tells the versions that survive.
using survivor_test = std::function<bool(const version_record &)>;

// Compares two sound containers. Both weaves are read side by side, each once, as the sequence of
// lines that at least one survivor holds; every line must have the same bytes, the same holders
// among the survivors and the same inserting version in both, which makes every survivor's text and
// annotation the same, byte for byte. The header must keep the survivors' records, and whatever
// else it keeps must be as it was. Fails, on the file of `before`, where the containers differ.
// O(bytes + (records + stretches x parts) x log versions), where a stretch of lines whose holders
// are k ranges of the version tree has k parts.
[[nodiscard]] result<> compare_survivors(const container_view &before, const container_view &after,
                                         const survivor_test &survives);

// The comparison of the weaves alone, for containers whose headers differ: the survivors of each
// must be the same versions. Either may be unsound where its survivors are not concerned.
[[nodiscard]] result<> compare_texts(const container_view &before, const version_tree &old_tree,
                                     const survivor_test &survives_before,
                                     const container_view &after,
                                     const survivor_test &survives_after);

}  // namespace norvik

#endif
