// What is said to a command line that cannot be understood.
#ifndef NORVIK_USAGE_ERROR_H
#define NORVIK_USAGE_ERROR_H

#include <span>
#include <string>
#include <string_view>

#include "exit_status.h"

namespace norvik {

// Prints "tdm: MESSAGE" with a pointer to the help of `command` (or of tdm itself when empty) and
// returns status_trouble.
exit_status usage_error(std::string_view command, const std::string &message);

// "; did you mean 'NAME'?" with the candidate nearest to `word` by edit distance, or an empty text
// when none is near enough to be meant.
std::string suggestion(std::string_view word, std::span<const std::string> candidates);

}  // namespace norvik

#endif
