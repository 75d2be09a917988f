// A merge of three texts, of which two are read from the container: a pass over the weave for each.
// All three and the merged one are in memory.
#include "checkin_merge.h"

#include <algorithm>

#include "version_sum.h"
#include "version_text.h"

namespace norvik {

namespace {

result<> load(const container_view &view, const version_record &version, lined_text *out) {
    auto loaded = load_version_text(view, version.id, version_name(view, version.id), out);
    if (loaded) {
        loaded = read_lines(out);
    }
    return loaded && version.sum ? require_sum(view, version, add_text(0, out->bytes.view()))
                                 : loaded;
}

// The offset of the first line that begins so, from `from` on.
std::size_t find_line(std::string_view text, const std::string &beginning, std::size_t from) {
    if (from == 0 && text.starts_with(beginning)) {
        return 0;
    }
    const std::size_t found = text.find("\n" + beginning, from);
    return found == std::string_view::npos ? found : found + 1;
}

}  // namespace

result<> merge_with_newest(const container_view &view, const checkin_base &found,
                           const std::string &name, std::string_view text, checkin_merge *out) {
    lined_text base;
    lined_text newest;
    if (auto loaded = load(view, *found.base, &base); !loaded) {
        return loaded;
    }
    if (auto loaded = load(view, *found.newest, &newest); !loaded) {
        return loaded;
    }
    return merge_texts(
        {{base.name, base.bytes.view()}, {name, text}, {newest.name, newest.bytes.view()}},
        &out->options, &out->run);
}

std::size_t find_conflict(std::string_view text) {
    std::size_t first = std::string_view::npos;
    std::size_t at = 0;
    for (const char *marker : {"<<<<<<< ", "=======\n", ">>>>>>> "}) {
        at = find_line(text, marker, at);
        if (at == std::string_view::npos) {
            return 0;
        }
        first = std::min(first, at);
    }
    return static_cast<std::size_t>(
               std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(first), '\n')) +
           1;
}

}  // namespace norvik
