// What git hands to an external diff command.
#ifndef NORVIK_GIT_ARGUMENTS_H
#define NORVIK_GIT_ARGUMENTS_H

#include <span>
#include <string>

#include "output.h"

namespace norvik {

// One path as git has it: its two texts, or nothing but the path when it is unmerged.
struct git_change {
    std::string path;
    std::string old_file, old_mode;
    std::string new_file, new_mode;
    std::string new_path;  // differs from `path` for a rename
    std::string header;    // git's own lines on a rename, or empty
    bool unmerged = false;
};

// Whether the operands are those of an external diff: git runs the command with its counter in the
// environment and 1, 7 or 9 operands, two of which are file modes.
bool is_git_call(std::span<const std::string> operands);

// Takes the operands apart; false when their number fits no form.
bool parse_git_call(std::span<const std::string> operands, git_change *out);

// Writes the lines that come before the hunks, down to "+++", so that git apply takes the output.
void write_git_header(output_writer &out, const git_change &change, bool has_hunks);

// Writes these lines and, in the place of hunks, that the texts differ and one of them is no text.
void write_git_binary(output_writer &out, const git_change &change);

}  // namespace norvik

#endif
