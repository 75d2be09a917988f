// A text to be checked in, merged with what others have stored since.
#ifndef NORVIK_CHECKIN_MERGE_H
#define NORVIK_CHECKIN_MERGE_H

#include <string>
#include <string_view>

#include "checkin_base.h"
#include "container_view.h"
#include "text_merge.h"

namespace norvik {

struct checkin_merge {
    merge_options options;
    text_merge run;

    const std::string &text() const { return run.merged.text; }
};

// Merges the text, called `name`, and the newest version, the base being theirs; conflicts are no
// failure (is_clean tells).
result<> merge_with_newest(const container_view &view, const checkin_base &found,
                           const std::string &name, std::string_view text, checkin_merge *out);

// The first line (from 1) of a conflict between markers that stands in the text, of ours or of
// those without the base's lines; 0 for none.
[[nodiscard]] std::size_t find_conflict(std::string_view text);

}  // namespace norvik

#endif
