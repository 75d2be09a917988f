#include "checkin_merge.h"
#include "failure_words.h"

#include <algorithm>

#include "exit_status.h"
#include "version_text.h"

namespace norvik {

namespace {

int load(const container_view &view, const version_record &version, lined_text *out) {
    const int status =
        told(load_version_text(view, version.id, version_name(view, version.id), out));
    return status == status_done ? told(read_lines(out)) : status;
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

int merge_with_newest(const container_view &view, const checkin_base &found,
                      const std::string &file, std::string_view text, checkin_merge *out) {
    lined_text base;
    lined_text newest;
    if (load(view, *found.base, &base) != status_done ||
        load(view, *found.newest, &newest) != status_done) {
        return status_trouble;
    }
    return merge_texts(
        {{base.name, base.bytes.view()}, {file, text}, {newest.name, newest.bytes.view()}},
        &out->options, &out->run);
}

std::size_t find_conflict(std::string_view text) {
    std::size_t first = std::string_view::npos;
    std::size_t at = 0;
    for (const char *marker : {"<<<<<<< ", "||||||| ", "=======\n", ">>>>>>> "}) {
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
