/* What the hosts of the tests share: an answer that is not as documented ends them. */
#pragma once

#include <norviktdm/common.h>
#include <stdio.h>
#include <string.h>

#define EXPECT(condition)                                                   \
    do {                                                                    \
        if (!(condition)) {                                                 \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
            return 1;                                                       \
        }                                                                   \
    } while (0)

/* The call gives no error. */
#define DONE(call)                                                                                \
    do {                                                                                          \
        norvik_error *const call_error = (call);                                                  \
        if (call_error != NULL) {                                                                 \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, norvik_error_message(call_error)); \
            return 1;                                                                             \
        }                                                                                         \
    } while (0)

static inline norvik_text text(const char *string) {
    const norvik_text made = {string, strlen(string)};
    return made;
}

static inline int holds(norvik_text some, const char *string) {
    return some.size == strlen(string) && memcmp(some.bytes, string, some.size) == 0;
}

static inline int is_lines(norvik_lines lines, uint32_t first, uint32_t count) {
    return lines.first == first && lines.count == count;
}

/* Whether the call failed for that reason; frees the error. */
static inline int failed_as(norvik_error *error, int kind) {
    const int right = norvik_error_kind(error) == kind;
    norvik_error_free(error);
    return right;
}

static inline int refused(norvik_error *error) {
    return failed_as(error, norvik_kind_refused);
}
