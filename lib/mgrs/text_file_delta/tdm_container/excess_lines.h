// The report of text lines that belong to no insert run.
#pragma once

#include "messages/messages.h"

namespace tdm {

/// Reports a corrupted container. @returns 1, so that the caller can return it.
[[nodiscard]] inline int report_excess_lines() {
    report_failure(message::excess_lines);
    constexpr int excess_lines_advice = 142;
    msg_print_shared(static_cast<int>(severity::failure), "tdm", &shared_msg_table,
                     excess_lines_advice);
    return 1;
}

}  // namespace tdm
