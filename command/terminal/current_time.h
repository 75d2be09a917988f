// The time that is now.
#ifndef NORVIK_CURRENT_TIME_H
#define NORVIK_CURRENT_TIME_H

#include <cstdint>

#include "exit_status.h"

namespace norvik {

// Seconds since 1970, or SOURCE_DATE_EPOCH when that is set; status_done, or status_trouble after a
// message when that is no number.
exit_status current_time(std::uint64_t &seconds);

}  // namespace norvik

#endif
