// One pass over the weave; the text is in memory twice while it is handed over.
#include "version_text.h"

#include "structure.h"
#include "version_sum.h"

namespace norvik {

namespace {

template <typename Add>
result<> read_text(const container_view &view, version_id id, const std::string &name,
                   const Add &add) {
    std::vector<version_id> lineage;
    if (!lineage_of(view, id, &lineage)) {
        return refusal(view.name, "the branches of " + name + " cannot be followed");
    }
    const std::optional<damage> found = walk_version(view, lineage, [&add](std::string_view piece) {
        add(piece);
        return true;
    });
    return found ? result<>(damaged(view, *found)) : result<>();
}

}  // namespace

result<> load_version_text(const container_view &view, version_id id, const std::string &name,
                           text_file *out) {
    std::string text;
    auto read = read_text(view, id, name, [&text](std::string_view piece) { text += piece; });
    return read ? hold_text(name, text, out) : read;
}

result<std::uint64_t> read_text_value(const container_view &view, version_id id) {
    std::uint64_t value = 0;
    const auto read = read_text(view, id, version_name(view, id), [&value](std::string_view piece) {
        value = add_text(value, piece);
    });
    return read ? result<std::uint64_t>(value) : read.failure();
}

}  // namespace norvik
