// Host services that fail on demand. The test executable defines them, so that every call of the
// library comes here first; they pass it on to the shared runtime.
#pragma once

#include <cstdint>
#include <functional>

namespace test {

enum class service : uint8_t { memory, hash_enter, stat, temporary_file, sync, nfs_flush };

/// While it lives, the n-th call (from 0) of a service fails, or with `from_then_on` all from the
/// n-th. Calls of other services pass. One at a time.
class failing {
public:
    failing(service which, int64_t n, bool from_then_on = false);
    failing(const failing &) = delete;
    failing &operator=(const failing &) = delete;
    ~failing();

    /// Whether a call failed, that is whether there were as many calls.
    [[nodiscard]] static bool met();
};

/// Blocks from mem_malloc, mem_calloc and mem_realloc that were not freed yet.
int64_t live_blocks();

/// Answers a conversion in place of the host while it is set: the output's capacity in, the
/// service's status out.
using conversion = std::function<int(char *out, uint64_t capacity, uint64_t *out_len)>;
void set_conversion(conversion replacement);

}  // namespace test
