#include "current_time.h"

#include <cstdlib>
#include <ctime>
#include <string>

#include "output.h"
#include "time_text.h"

namespace norvik {

exit_status current_time(std::uint64_t &seconds) {
    const char *epoch = std::getenv("SOURCE_DATE_EPOCH");
    if (epoch == nullptr || *epoch == '\0') {
        seconds = static_cast<std::uint64_t>(time(nullptr));
        return status_done;
    }
    if (parse_time(std::string("@") + epoch, seconds)) {
        return status_done;
    }
    say("SOURCE_DATE_EPOCH is not a number of seconds");
    return status_trouble;
}

}  // namespace norvik
