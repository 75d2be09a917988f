// The allocators of this program: those of C++ and the library's services. While `counts` is set,
// the one numbered `fails_at` fails.
#pragma once

struct allocator_state {
    bool counts = false;
    bool fails_on = false;  // all that follow fail too
    long fails_at = 0;      // from 1; 0: none
    long count = 0;
};
extern allocator_state allocator;
