// A few places for paths, changed by single atomic steps: a signal may come between any two.
#include "end_removal.h"

#include <unistd.h>

#include <atomic>

#include "private_file.h"

namespace norvik {

namespace {

// Read by signal handlers, so nothing that locks.
std::atomic<const char *> doomed_files[4];
static_assert(std::atomic<const char *>::is_always_lock_free);

}  // namespace

void remove_files_now() {
    for (std::atomic<const char *> &place : doomed_files) {
        if (const char *path = place.exchange(nullptr)) {
            unlink(path);
        }
    }
    remove_private_files();
}

void remove_at_end(const char *path) {
    for (std::atomic<const char *> &place : doomed_files) {
        const char *none = nullptr;
        if (place.compare_exchange_strong(none, path)) {
            return;
        }
    }
}

void keep_at_end(const char *path) {
    for (std::atomic<const char *> &place : doomed_files) {
        const char *expected = path;
        if (place.compare_exchange_strong(expected, nullptr)) {
            return;
        }
    }
}

}  // namespace norvik
