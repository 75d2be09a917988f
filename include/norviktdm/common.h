/* What changes.h and history.h share: the version, errors, texts.
 *
 * Rules of both interfaces:
 *  - No call prints, asks, ends the process or keeps anything between calls but in the handles that
 *    it gives out. Threads are free on different handles; one handle serves one thread at a time.
 *  - A call that can fail returns null when it is done, else an error that is the caller's. What it
 *    was to give out by pointer is then null, and nothing of it is left behind.
 *  - Strings are NUL-terminated and hold bytes as they are: names come from files and from users,
 *    so escape them where they are shown. No call keeps a string or a text that it was given,
 *    unless said otherwise.
 *  - Null is allowed where it is said what null means; elsewhere the error is norvik_kind_refused.
 *    The functions that free something, or ask an object for a thing of its own, take any null.
 *  - Structures that a call gives out by pointer belong to the object asked, live as long as it and
 *    may become longer in later versions: reach each by its function, never by adding to a pointer.
 *    Structures that the caller fills begin with their size: `norvik_merge_options options = {
 *    .size = sizeof options };` What is 0 or null in them has its default, and so has a null
 *    structure.
 *  - Lines count from 1, sizes are bytes, times are seconds since 1970, UTC. */
#ifndef NORVIKTDM_COMMON_H
#define NORVIKTDM_COMMON_H

#include <stddef.h>
#include <stdint.h>

#ifndef NORVIK_API
#define NORVIK_API __attribute__((visibility("default")))
#endif

/* The version of these headers and of the library, major * 10000 + minor * 100 + patch. Within a
 * major version names and meanings only come to it. */
#define NORVIK_HISTORY_VERSION 10000

#ifdef __cplusplus
extern "C" {
#endif

/** @returns the NORVIK_HISTORY_VERSION that the library was built with. */
NORVIK_API uint32_t norvik_history_version(void);

/* ---- Errors ---- */

/** Why a call is not done. */
typedef struct norvik_error norvik_error;

enum norvik_kind {
    norvik_kind_refused = 1, /* it would lose, expose or confuse something, or makes no sense */
    norvik_kind_system = 2,  /* a call of the system failed: see norvik_error_system */
    norvik_kind_damaged = 3, /* a container is not sound */
    norvik_kind_changed = 4, /* somebody else changed the file meanwhile: look again */
    norvik_kind_memory = 5,  /* there is not enough memory */
    norvik_kind_stopped = 6, /* a procedure of the caller's ended the call */
    norvik_kind_busy = 7     /* another program holds the file: try again later */
};

/** @returns of norvik_kind; 0 for null. Later versions may have more kinds. */
NORVIK_API int norvik_error_kind(const norvik_error *error);

/** @returns the file that it is about, as the caller named it; empty when it is about none. */
NORVIK_API const char *norvik_error_file(const norvik_error *error);

/** @returns the line of the file; 0 when it is about no line. */
NORVIK_API uint64_t norvik_error_line(const norvik_error *error);

/** @returns an errno value; 0 when no call of the system failed. */
NORVIK_API int norvik_error_system(const norvik_error *error);

/** @returns the reason in plain words, without the file and the system's own words. */
NORVIK_API const char *norvik_error_reason(const norvik_error *error);

/** @returns everything above on one line: `FILE:LINE: reason: what the system says`. */
NORVIK_API const char *norvik_error_message(const norvik_error *error);

/** Frees an error. Null, and the error that tells that memory is short, are accepted. */
NORVIK_API void norvik_error_free(norvik_error *error);

/* ---- Texts ---- */

/** Some bytes that somebody else keeps. They need not end with a NUL and may hold any byte, unless
 *  said otherwise. `bytes` may be null when `size` is 0. */
typedef struct norvik_text {
    const char *bytes;
    size_t size;
} norvik_text;

/** Consecutive lines: `count` of them from line `first` on. No lines are the place before `first`,
 *  which is one more than the last line's at the end of a text. */
typedef struct norvik_lines {
    uint32_t first;
    uint32_t count;
} norvik_lines;

/** Takes the next piece of a text.
 *  @param user   what the caller gave with the procedure.
 *  @param bytes  valid during the call alone; `size` is never 0.
 *  @returns 0; anything else ends the call that gives the text with norvik_kind_stopped. */
typedef int (*norvik_sink)(void *user, const char *bytes, size_t size);

#ifdef __cplusplus
}
#endif
#endif
