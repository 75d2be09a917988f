// A comparison of two to 32 texts: through the library's session and difference stream, or by our
// own comparison alone when a text has lines longer than the library reads.
#ifndef NORVIK_COMPARISON_H
#define NORVIK_COMPARISON_H

#include <norviktdm/tdm.h>

#include <memory>
#include <vector>

#include "edit_list.h"
#include "lined_text.h"

namespace norvik {

inline constexpr std::size_t most_files = 32;  // of one session, the base among them

struct session_closer {
    void operator()(tdm_session *s) const { (void)tdm_destroy_session(s); }
};

struct comparison {
    std::unique_ptr<tdm_session, session_closer> session;  // closed unless it was to be kept
    bool identical = false;  // all texts are the same; then there is no stream
    bool own = false;        // compared without the library; then there is no stream either
    std::uint64_t head_lines = 0;
    std::vector<std::uint64_t> tail_bytes;  // of each file, in the tail that all have
    std::vector<diff_block> blocks;         // the whole stream, in its order
};

enum class after_compare { close_session, keep_session };

// Compares files[0], the base, with every other, and reads the lines of all. Lines may have any
// length, unless the session is to be kept: then the library refuses long ones. `operation`
// ("compare", "merge") is what the library's messages name. What the library refuses, such as a
// file that is no text, it tells by its own messages: the failure is then of the kind `told`.
result<> compare_files(std::vector<lined_text> *files, const char *operation, bool ignore_blanks,
                       after_compare after, comparison *out);

// The edits of file `index` (from 1); none when it is the same as the base.
[[nodiscard]] file_edits edits_of(const comparison &c, const std::vector<lined_text> &files,
                                  std::size_t index, const edit_list_options &options);

}  // namespace norvik

#endif
