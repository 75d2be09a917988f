// Asks before something is removed.
#ifndef NORVIK_CONFIRM_H
#define NORVIK_CONFIRM_H

#include <string>

#include "command_context.h"

namespace norvik {

// Asks `question` on standard error and reads the answer from standard input; only y and yes mean
// yes. Without a terminal, or with --no-input, nothing is asked and --yes is named as the way to
// go on. Returns status_done, status_negative for no, or status_trouble after a message.
[[nodiscard]] exit_status confirm(const command_context &context, const std::string &question);

}  // namespace norvik

#endif
