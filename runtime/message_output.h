// What the message services share: where a severity goes and how a format is printed.
#pragma once

#include <cstdarg>
#include <cstdint>

namespace runtime {

inline constexpr int report_severity = 0;  // to standard output; all others to standard error
inline constexpr int failure_severity = 6;

inline constexpr uint16_t shared_internal_error = 34;

void print_format(int severity, const char *format, va_list arguments);

}  // namespace runtime
