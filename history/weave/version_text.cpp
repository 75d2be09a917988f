// One pass over the weave; the text is in memory twice while it is handed over.
#include "version_text.h"

#include "structure.h"

namespace norvik {

result<> load_version_text(const container_view &view, version_id id, const std::string &name,
                           text_file *out) {
    std::vector<version_id> lineage;
    if (!lineage_of(view, id, &lineage)) {
        return refusal(view.name, "the branches of " + name + " cannot be followed");
    }
    std::string text;
    const auto add = [&text](std::string_view piece) {
        text += piece;
        return true;
    };
    if (const std::optional<damage> found = walk_version(view, lineage, add)) {
        return damaged(view, *found);
    }
    return hold_text(name, text, out);
}

}  // namespace norvik
