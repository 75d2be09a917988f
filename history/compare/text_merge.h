// A merge of files or of texts in memory: opened and compared through the library, then decided and
// checked.
#ifndef NORVIK_TEXT_MERGE_H
#define NORVIK_TEXT_MERGE_H

#include <string>
#include <string_view>
#include <vector>

#include "comparison.h"
#include "merge_run.h"

namespace norvik {

struct text_merge : merge_run {
    std::vector<lined_text> files;  // the base, then the contributors
    comparison compared;
};

// Reads and compares the files (the base's name first) and finds what each contributor changed.
// For the library's own merge the edits are the stream's own blocks, and the session stays.
result<> begin_merge(const std::vector<std::string> &names, const merge_options &options,
                     bool by_library, text_merge *run);

// A text that stands in memory, with the name that failures and markers call it by. The bytes are
// needed during the call alone.
struct named_text {
    std::string name;
    std::string_view bytes;
};

// The whole merge of texts in memory, the base first: compares, decides and checks. The result is
// run->merged.text, between markers where !is_clean(run->plan). Labels that `options` lacks become
// the names.
result<> merge_texts(const std::vector<named_text> &texts, merge_options *options, text_merge *run);

// What is wrong with a line of a merged text, in words.
[[nodiscard]] std::string fault_words(const line_fault &fault);

}  // namespace norvik

#endif
