#include "time_option.h"

#include "command_declaration.h"
#include "current_time.h"
#include "escaped_text.h"
#include "exit_status.h"
#include "output.h"
#include "time_text.h"

namespace norvik {

void time_option::declare(command_declaration &command) {
    command.value("--time", "TIME", text,
                  "Date it: @SECONDS since 1970, or ISO 8601 with clock and zone");
}

exit_status time_option::get(std::uint64_t &seconds) const {
    if (text.empty()) {
        return current_time(seconds);
    }
    if (parse_time(text, seconds)) {
        return status_done;
    }
    say("'%s' is no time: give @SECONDS since 1970 or 2024-05-01T12:30:00Z (or +02:00)",
        escape_name(text).c_str());
    return status_trouble;
}

}  // namespace norvik
