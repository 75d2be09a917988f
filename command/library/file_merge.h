// A merge of files or of texts in memory: opened and compared through the library, then decided and
// checked by the core.
#ifndef NORVIK_FILE_MERGE_H
#define NORVIK_FILE_MERGE_H

#include <string>
#include <string_view>
#include <vector>

#include "comparison.h"
#include "lined_text.h"
#include "merge_run.h"

namespace norvik {

struct file_merge : merge_run {
    std::vector<lined_text> files;  // the base, then the contributors
    comparison compared;
};

// Reads and compares the files (the base's name first) and finds what each contributor changed.
// For the library's own merge the edits are the stream's own blocks, and the session stays. 0, or
// status_trouble after a message.
[[nodiscard]] int begin_merge(const std::vector<std::string> &names, const merge_options &options,
                              bool by_library, file_merge *run);

// A text that stands in memory, with the name that messages and markers call it by. The bytes are
// needed during the call alone.
struct named_text {
    std::string name;
    std::string_view bytes;
};

// The whole merge of texts in memory, the base first: compares, decides and checks. The result is
// run->merged.text, between markers where !is_clean(run->plan); say_conflicts (merge_words.h) tells
// the conflicts, given the same options. Labels that `options` lacks become the names. 0, or
// status_trouble after a message.
[[nodiscard]] int merge_texts(const std::vector<named_text> &texts, merge_options *options,
                              file_merge *run);

// finish_merge, and the words where no conflict mends the text: 0, or status_trouble after them.
[[nodiscard]] int finish_or_say(const merge_options &options, merge_run *run);

}  // namespace norvik

#endif
