// What is needed then stands in static variables, and nothing here allocates.
#include "out_of_memory.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

#include "end_removal.h"
#include "exit_status.h"

namespace norvik {

namespace {

bool failed = false;
bool replaced = false;
exit_status (*last_resort)() = nullptr;

[[noreturn]] void note_and_throw() {
    note_out_of_memory();
    throw std::bad_alloc();
}

[[noreturn]] void end_in_order() {
    // A fault of ours, then: its core tells more than a message would.
    if (!failed) {
        std::abort();
    }
    remove_files_now();
    _exit(end_without_memory());
}

}  // namespace

void note_out_of_memory() noexcept {
    failed = true;
}

void note_replaced() noexcept {
    replaced = true;
}

void forget_notes() noexcept {
    failed = false;
    replaced = false;
}

bool is_out_of_memory() noexcept {
    return failed;
}

bool is_replaced() noexcept {
    return replaced;
}

void say_without_memory(const char *words) noexcept {
    // Where that fails too there is nobody to tell.
    (void)std::fprintf(stderr, "tdm: out of memory%s\n", words);
}

exit_status end_without_memory() noexcept {
    // It would write over what has just been put in place.
    if (last_resort != nullptr && !replaced) {
        return last_resort();
    }
    say_without_memory(replaced ? ", but the file is replaced" : "");
    return status_trouble;
}

void watch_memory(exit_status (*otherwise)()) noexcept {
    last_resort = otherwise;
    std::set_new_handler(note_and_throw);
    std::set_terminate(end_in_order);
}

}  // namespace norvik
