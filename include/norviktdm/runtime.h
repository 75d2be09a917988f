/* Host services that libnorviktdm calls. A host may replace any of them: every call from the
 * library goes through the dynamic symbol, and the services here reach one another's families
 * (memory above all) the same way.
 *
 * Rules that hold for all of them:
 *  - Texts end with a NUL. Sizes and lengths count bytes. A pointer may be null only where said.
 *  - A null handle or pointer result is a failure unless said otherwise; where errno is said to be
 *    set, msg_strerror gives its text.
 *  - An argument named after a value (`one`, `zero`, `null1`) is always passed with that value and
 *    not looked at here.
 *  - Nothing here is safe for two threads on the same handle, on the standard streams' messages or
 *    on the guard. */
#ifndef NORVIKTDM_RUNTIME_H
#define NORVIKTDM_RUNTIME_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/stat.h>

#ifndef NORVIK_API
#define NORVIK_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

#ifndef NORVIKTDM_MSG_TABLE_DEFINED
#define NORVIKTDM_MSG_TABLE_DEFINED
/* A message catalogue: `count` printf formats and their catalogue numbers, both by index (from 0).
 * A format may switch emphasis on with the bytes 01 01 '1' 'B' and off with 01 01 '0' 'B'. */
typedef struct msg_table {
    const char *facility_name, *facility_prefix;
    uint16_t highest_number, count;
    const char *const *texts;
    const uint16_t *numbers;
} msg_table;
#endif

/* ---- Memory. ---- Blocks are aligned for every type; errno is ENOMEM after a failure. */

/* A block of `size` bytes with undefined contents, owned by the caller until mem_free; null when
 * there is no memory. A size of 0 gives a block as well. */
NORVIK_API void *mem_malloc(size_t size);

/* A zero-filled block of `count` x `size` bytes; null when there is no memory or the product does
 * not fit a size_t. A product of 0 gives a block as well. */
NORVIK_API void *mem_calloc(size_t count, size_t size);

/* Makes `block` (null: a new block) `size` bytes large, keeping its contents up to the smaller
 * size; the result replaces it. On null the old block is still valid and still the caller's. A
 * size of 0 leaves a block, it frees nothing. */
NORVIK_API void *mem_realloc(void *block, size_t size);

/* Frees a block of any of the functions above, or of mem_strdup; null is accepted. */
NORVIK_API void mem_free(void *block);

/* A copy of `text` in a block of its own, to be freed by mem_free; null when there is no memory or
 * `text` is null. */
NORVIK_API char *mem_strdup(const char *text);

/* A memory area: texts copied into it are freed together. */
typedef struct mem_area mem_area;

/* A new, empty area that takes memory from mem_malloc in blocks of about `block_size` bytes (0 is
 * accepted: then every text has its own block), to be deleted by mem_area_delete. */
NORVIK_API mem_area *mem_area_create(size_t block_size);

/* A copy of `text` of any length that stays in place until the area is deleted and belongs to the
 * area; null when there is no memory, the earlier copies then unharmed. */
NORVIK_API char *mem_area_strdup(mem_area *area, const char *text);

/* Frees the area at `*area` with every text in it and sets `*area` to null. Null is accepted for
 * `area` and for `*area`. */
NORVIK_API void mem_area_delete(mem_area **area);

/* ---- Hash tables. ----
 * Three kinds, told apart by their keys: byte strings of one length, 64-bit integers, texts. What
 * holds for all of them:
 *  - `buckets` is the number of entries for which the table makes room at once (0 is accepted);
 *    every table grows beyond it as entries are added.
 *  - Each entry has `data_size` bytes of data (0 is accepted), aligned to the largest power of two
 *    that divides the size, at most 8. A stored key is aligned likewise by the size of the key.
 *  - Stored keys and data never move: a pointer to them is valid for the life of the table. A key
 *    must not be changed.
 *  - Keys are mixed with a seed of the table: keys that resemble one another, or were chosen by
 *    somebody to collide, take no longer than others.
 *  - A table is used with the functions of its kind only, and deleted by ht_delete.
 *
 * The enter functions look the key up and create its entry when there is none:
 *      0  created: the key is stored (copied); the data is UNDEFINED and the caller's to set;
 *      1  the key was there already;
 *     -1  there is no memory for another entry: nothing has changed, and `*stored_key` and `*data`
 *         are null, which is how a caller that only asks "0 or not" tells it from 1.
 * The lookup functions never create: 1 found, 0 not found (`*stored_key` and `*data` are null).
 * In all of them `stored_key` receives the address of the table's own copy of the key and `data`
 * the address of the entry's data (never null for an entry, also when data_size is 0); either
 * pointer may be null when the result is not wanted. */
typedef struct hash_table hash_table;

/* A table keyed by byte strings of `key_size` bytes, compared whole; null when there is no
 * memory. */
NORVIK_API hash_table *ht_flen_create(uint32_t buckets, uint32_t data_size, int one,
                                      uint32_t key_size);

/* `key` addresses key_size bytes, of any alignment. */
NORVIK_API int ht_flen_enter(hash_table *t, const void *key, void **stored_key, void **data);
NORVIK_API int ht_flen_lookup(hash_table *t, const void *key, void **stored_key, void **data);

/* A table keyed by integers; `*stored_key` is the address of a uint64_t. */
NORVIK_API hash_table *ht_int_create(uint32_t buckets, uint32_t data_size);
NORVIK_API int ht_int_enter(hash_table *t, uint64_t key, void **stored_key, void **data);
NORVIK_API int ht_int_lookup(hash_table *t, uint64_t key, void **stored_key, void **data);

/* A table keyed by texts, copied into the table; `*stored_key` is the address of the copy's first
 * byte. With a data_size of 0 it is a set of texts. */
NORVIK_API hash_table *ht_str_create(uint32_t buckets, uint32_t data_size, int zero);
NORVIK_API int ht_str_enter(hash_table *t, const char *key, void **stored_key, void **data);
NORVIK_API int ht_str_lookup(hash_table *t, const char *key, void **stored_key, void **data);

/* Announces that the table will grow far beyond its `buckets`: while it is small its index grows
 * by `growth_factor` (rounded down to a power of two from 2 to 16) instead of doubling, so that it
 * is rebuilt less often. A large index doubles in any case. Null is accepted for `t`, so that the
 * result of a create function may be passed on unchecked. */
NORVIK_API void ht_set_dynamic(hash_table *t, uint32_t growth_factor);

/* Frees the table at `*t` with all its keys and data and sets `*t` to null. Null is accepted for
 * `t` and for `*t`. */
NORVIK_API void ht_delete(hash_table **t);

/* ---- Messages. ----
 * A message is its text with its arguments and nothing else: no prefix, no time. Severity 0 goes to
 * standard output; all others (4 notices, 6 failures, 7 explanations of a failure) go to standard
 * error, after standard output has been flushed, so that the two keep their order.
 * Emphasis markers in a format become bold type when the stream is a terminal and the environment
 * variable NO_COLOR is unset or empty, and are dropped otherwise. Only the format is searched for
 * them: arguments pass unchanged, of whatever length.
 * `index` counts a catalogue's texts from 0. With index -1 `catalogue` is itself the printf format
 * (const char *), otherwise it is a const msg_table *. An index or number that the catalogue does
 * not have prints "Unknown message." without the arguments. */

/* Prints one message with the printf arguments that follow. */
NORVIK_API void msg_print(int severity, const void *catalogue, int index, ...);

/* Formats a message into `buffer`, which must be large enough, and returns its length without the
 * NUL; negative when the arguments cannot be formatted. Emphasis markers are kept: whoever shows
 * the text renders them, as msg_prompt_yes_no does. */
NORVIK_API int msg_sprintf(char *buffer, const void *catalogue, int index, ...);

/* The text of an errno value; valid until the next call, not to be freed, never null. */
NORVIK_API const char *msg_strerror(int errnum);

/* What a message is: a line of a report or of what was asked for, a notice, a failure, and what is
 * said of a failure in more words. */
enum msg_severity {
    msg_severity_report = 0,
    msg_severity_notice = 4,
    msg_severity_failure = 6,
    msg_severity_explanation = 7
};

/* Answers of whoever is asked. */
enum msg_answer { msg_answer_abort = 1, msg_answer_yes = 4, msg_answer_no = 8 };

/* Asks `question` (a text, not a format; its emphasis markers are rendered) on standard output and
 * reads a line from standard input: y or yes, n or no, a or abort, in any case of letters. An empty
 * line takes `default_answer`; every other line, and an answer that is not allowed, asks again.
 * Answers are the bits of msg_answer; `allowed` is their set, `default_answer` one of them. The
 * result is one bit of `allowed`, except that the end of the input always answers abort. */
NORVIK_API uint64_t msg_prompt_yes_no(int zero, const char *question, uint64_t allowed,
                                      uint64_t default_answer);

/* The services' own catalogue: number 34, an internal inconsistency (arguments: the source unit,
 * const char *, and a line number, int), and number 142, advice about a damaged file (no
 * arguments). */
NORVIK_API extern const msg_table shared_msg_table;

/* Prints the message with catalogue number `number` (not index) of `catalogue`, usually
 * shared_msg_table. `prefix` names the calling facility; it is not printed. */
NORVIK_API void msg_print_shared(int severity, const char *prefix, const msg_table *catalogue,
                                 int number, ...);

/* Reports an internal error at severity 6: message `index` of `catalogue` with the printf arguments
 * that follow `zero`, and then shared message 34 with `unit` and `line`. `prefix` is not printed.
 */
NORVIK_API void log_internal_error(const char *prefix, const msg_table *catalogue, int index,
                                   const char *unit, int line, int zero, ...);

/* ---- Files and system. ---- */

/* Fills `st` for `path`, symbolic links followed. 0 on success, otherwise non-zero with errno
 * set. */
NORVIK_API int futil_stat(const char *path, int one, struct stat *st);

/* Creates a new temporary file in the folder that the environment variable TMPDIR names (unset or
 * empty: /tmp), readable and writable for its owner only, and writes its path into `name`, a buffer
 * of `name_size` bytes. The stream is open for writing; the caller closes it and removes the file
 * by its path. Null with errno set on failure, ENAMETOOLONG when the path does not fit `name`; no
 * file is left behind then. */
NORVIK_API FILE *futil_tmpfile_binary(void *null1, void *null2, void *null3, char *name,
                                      size_t name_size);

/* A reader that hands out the lines of a file from the last to the first. */
typedef struct bw_reader bw_reader;

/* A backward reader on the regular file of `stream`, which must be open for reading and stay open
 * until futil_bw_stop; its position and buffer are neither used nor moved. Bytes appended later are
 * not seen. Null with errno set when the stream has no regular file (ESPIPE) or there is no
 * memory. */
NORVIK_API bw_reader *futil_bw_start(FILE *stream, int one);

/* Reads the previous line into `buffer` of `size` bytes (at least 2), with its newline and a NUL
 * behind it, and returns `buffer`. A last line without a newline comes without.
 *
 * A line of more than `size` - 1 bytes comes in pieces, its END first: the first piece holds the
 * last `size` - 1 bytes with the newline, the following ones go on before it, each of `size` - 1
 * bytes but the last, which begins the line. Pieces after the first have no newline; so a piece of
 * `size` - 1 bytes began its line exactly when the next one ends with a newline or nothing is left.
 *
 * `ignored` receives the number of bytes stored, the NUL not counted (0 when the result is null): a
 * line that holds a NUL is told by strlen being less than that. `at_start` receives 0 with a line.
 * With a null result it receives non-zero when no line is left, and 0 after an error, errno then
 * set (EINVAL for a too small `size`; EIO when the file has become shorter). Both may be null. */
NORVIK_API char *futil_bw_fgets(char *buffer, int size, bw_reader *reader, int *ignored,
                                int *at_start);

/* Ends backward reading; the stream stays open. Null is accepted. */
NORVIK_API void futil_bw_stop(bw_reader *reader);

/* Flushes `stream` and forces its regular file to stable storage. A stream that cannot be forced (a
 * pipe, a terminal, a file system without that operation) counts as forced once it is flushed. 0 on
 * success, otherwise non-zero with errno set; a stream on which an earlier write has failed is a
 * failure (EIO), since bytes of it are missing. */
NORVIK_API int sys_fsync_stream(FILE *stream);

/* Drops what the network file system caches for `path`, so that the next look sees what others
 * wrote. Always 0: on this platform opening the file does that. */
NORVIK_API int sys_nfs_flush(const char *path);

/* Compares two lines as if every white-space byte (isspace in the current locale) were taken out of
 * both: 0 when they are then equal, otherwise less or greater than 0 by the first unequal bytes,
 * taken as unsigned. `a = b` equals `a=b`. */
NORVIK_API int str_cmp_ignore_whitespace(const char *a, const char *b);

/* Brackets a section that no signal handler may interrupt, because it releases what a handler might
 * still reach: guard_inhibit holds every asynchronous signal back, guard_enable lets them through
 * again. Sections may be nested, the outermost counts; a guard_enable without its guard_inhibit
 * does nothing. */
NORVIK_API void guard_inhibit(void);
NORVIK_API void guard_enable(void);

/* ---- Codesets. ----
 * Codes: 0 the "C" locale and plain ASCII text, 1 EUC-JP, 2 Shift-JIS, 3 UTF-8, 4 unknown. */

/* The code of the current locale's codeset (LC_CTYPE as set by the host). */
NORVIK_API uint32_t cs_get_locale_codeset(void);

/* A converter, to be released by cs_exit; null when there is no memory. */
NORVIK_API void *cs_init_language(void);

/* The code of the text of `len` bytes by the form of its byte sequences: 0 when it is ASCII
 * throughout (or empty), otherwise the first of UTF-8, EUC-JP and Shift-JIS in which every sequence
 * is well formed and complete, otherwise 4. */
NORVIK_API uint32_t cs_detect_codeset(const char *text, size_t len);

/* Converts `len` bytes of `text` from one codeset to another into `out`, which has room for
 * `out_capacity` bytes and gets no NUL; `out_len` receives the number of bytes converted (0 unless
 * the result is 0). 0 on success; 3 when `out` is too small, its contents then undefined; 1 when
 * the text is not well formed in `from`, has a character that `to` lacks, or the pair is not known.
 * The converter keeps what the last pair of codesets needs. */
NORVIK_API int cs_convert_encodings(void *converter, uint32_t from, uint32_t to, const char *text,
                                    size_t len, char *out, size_t out_capacity, uint64_t *out_len);

/* Releases a converter. Null is accepted. */
NORVIK_API void cs_exit(void *converter);

#ifdef __cplusplus
}
#endif
#endif
