// Differences in the unified form that patch and git apply take.
#ifndef NORVIK_UNIFIED_DIFF_H
#define NORVIK_UNIFIED_DIFF_H

#include <string>
#include <string_view>

#include "edit.h"
#include "output.h"
#include "text_lines.h"

namespace norvik {

struct unified_options {
    std::int32_t context = 3;  // lines shown before and after an edit
    bool color = false;
    bool escape = false;     // show control bytes as escape_text does: for terminals only
    bool mark_moves = true;  // say in a hunk's heading where moved lines went and came from
};

// A name as a header line of a patch has it: quoted as C has it where it holds a quote, a
// backslash or a control byte, and followed by a tab where it holds a blank, so that patch reads
// the whole of it.
std::string patch_name(std::string_view name);

// Writes the two header lines ("--- OLD", "+++ NEW"); the names go through patch_name, and with
// `escape` through escape_text.
void write_unified_header(output_writer &out, const unified_options &options,
                          std::string_view old_name, std::string_view new_name);

// Writes the hunks that turn text a into text b. Context lines are a's. Nothing is written where
// there is no edit. A last line without newline is followed by the usual mark.
void write_unified(output_writer &out, const unified_options &options, const text_lines &a,
                   const text_lines &b, const file_edits &edits);

}  // namespace norvik

#endif
