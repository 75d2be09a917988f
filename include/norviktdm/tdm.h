/* libnorviktdm: the text-file delta manager.
 *
 * Rules of the whole interface. One thread at a time; every call runs to its end on the caller's
 * thread. Paths and oids are NUL-terminated strings that the caller owns and that no call keeps,
 * unless said otherwise. A failure is reported once, through msg_print, before the call returns.
 * Line numbers count from 1, sizes and offsets are bytes. */
#ifndef NORVIKTDM_TDM_H
#define NORVIKTDM_TDM_H

#include <norviktdm/runtime.h>
#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/** One open file as the line reader sees it. Operations also use it for the files they write; then
 *  only `stream`, `file_name`, `op_is_operation` and `op_name` are set. */
typedef struct line_stream {
    FILE *stream;            /* opened and closed by the owner */
    int32_t op_is_operation; /* nonzero: op_name names an operation; zero: a program */
    const char *op_name;     /* for messages about binary data; may be null; not owned */
    char *line;              /* the current line, newline kept, NUL-terminated; from mem_malloc,
                                freed by the owner with mem_free */
    int32_t capacity;        /* bytes of `line`; 0: none yet */
    uint64_t file_size;      /* bytes of the file; set by the owner before the first read */
    const char *file_name;   /* for messages; not owned */
} line_stream;

/** One difference between the base and another file. Line numbers count from 1 in the whole file,
 *  ranges are inclusive. */
typedef struct diff_block {
    uint32_t kind; /* 0 unchanged, 1 change, 2 insert, 3 delete, 4 moved insert, 5 moved delete */
    /* Kinds 2 and 4: base_first = base_last = the base line after which the lines stand (0: before
     * the first). Kinds 3 and 5: the same of other_first and other_last. moved_*: the partner's
     * lines of kinds 4 and 5, else 0. */
    int32_t base_first, base_last, other_first, other_last, moved_first, moved_last;
    uint32_t file_index; /* the other file, 1 or above */
} diff_block;

/* ---- Identification and catalogue ---- */

/** The library's messages: 54 printf formats, named by index, and their catalogue numbers. */
NORVIK_API extern const msg_table _tdm_text_file_delta_msg_table;

/** @returns the notice: nine lines of 73 bytes each and a null pointer; the library's own. */
NORVIK_API const char *const *libnorviktdm_copyright_array(void);

/** Prints one line with the library's name, version and build time at severity 0. */
NORVIK_API void libnorviktdm_print_verid(void);

/** Formats the same line, newline included, into `buffer`, which must hold 128 bytes. */
NORVIK_API void libnorviktdm_sprintf_verid(char *buffer);

/* ---- Reader ---- */

/** Reads the next line of `in->stream`, from its current position, into `in->line`.
 *  A line has at most 8000 bytes before its newline (8003 when it begins with `^N `) and no NUL.
 *  @param in      the file; its buffer is grown with mem_realloc as needed.
 *  @param at_eof  receives 1 when no line was left (`line` is then empty), else 0.
 *  @returns 0; or 1 after reporting a read error, an over-long line, a NUL byte or missing memory:
 *           `line` then holds nothing usable, and the file is best abandoned. */
NORVIK_API int tdm_read_long_line(line_stream *in, int *at_eof);

/* ---- Record codec ----
 *
 * Encoders write one record to `out->stream` and return 0, or 1 after reporting a failed write in
 * the name of `out->file_name`. Strings are written as given.
 *
 * Decoders take a record line (or one from its third byte when it is commented out),
 * NUL-terminated, and store its fields. They return 0, or 1 when a field is missing or malformed,
 * and print nothing; fields before the bad one may have been stored. An oid buffer must hold 112
 * bytes: an oid of more than 111 bytes makes the record malformed. */

/** The one format number that the library reads and writes, 0xdb1. */
NORVIK_API extern uint64_t known_formats;

/** Writes one text line so that it cannot be taken for a record: quoted when it begins with `^`,
 *  marked when it has no final newline. Null or empty text writes nothing. */
NORVIK_API int tdm_cntutl_encode_text(line_stream *out, const char *text);
/** Writes the status record. */
NORVIK_API int tdm_cntutl_encode_status(line_stream *out, uint64_t format, uint64_t highest_branch);
/** Writes the element record. */
NORVIK_API int tdm_cntutl_encode_cre_ele(line_stream *out, const char *element_oid);
/** Writes a branch record: the branch and the version it is made off. */
NORVIK_API int tdm_cntutl_encode_cre_bra(line_stream *out, const char *branch_oid, uint64_t branch,
                                         uint64_t parent_branch, uint64_t parent_version);
/** Writes a version record. */
NORVIK_API int tdm_cntutl_encode_cre_ver(line_stream *out, const char *version_oid, uint64_t branch,
                                         uint64_t version, uint64_t create_time);
/** Writes a deletion: `line_count` lines that follow are deleted by the version. */
NORVIK_API int tdm_cntutl_encode_delete(line_stream *out, uint64_t branch, uint64_t version,
                                        uint64_t line_count);
/** Writes the head of a run: the version inserted the `line_count` lines that follow. */
NORVIK_API int tdm_cntutl_encode_insert(line_stream *out, uint64_t branch, uint64_t version,
                                        uint64_t line_count);

/** Parses a status record. */
NORVIK_API int tdm_cntutl_decode_status(const char *line, uint64_t *format,
                                        uint64_t *highest_branch);
/** Parses an element record. */
NORVIK_API int tdm_cntutl_decode_cre_ele(const char *line, char *element_oid);
/** Parses a branch record: branch, parent branch, parent version. */
NORVIK_API int tdm_cntutl_decode_cre_bra(const char *line, char *oid, uint64_t *first,
                                         uint64_t *second, uint64_t *third);
/** Parses a version record: branch, version, creation time. */
NORVIK_API int tdm_cntutl_decode_cre_ver(const char *line, char *oid, uint64_t *first,
                                         uint64_t *second, uint64_t *third);
/** Parses a deletion. */
NORVIK_API int tdm_cntutl_decode_delete(const char *line, uint64_t *branch, uint64_t *version,
                                        uint64_t *line_count);
/** Parses the head of an insert run. */
NORVIK_API int tdm_cntutl_decode_insert(const char *line, uint64_t *branch, uint64_t *version,
                                        uint64_t *line_count);

/* ---- Container operations ----
 *
 * No container is ever changed in place: an operation that changes one reads it and writes a
 * complete new one to another path, forced to disk. The caller keeps the old container unchanged
 * and the new path private during the call, and removes a new container left behind by a failure.
 * An output that is the same file as one being read (whatever its path says) is refused before it
 * is opened.
 *
 * Oids that are written have 1 to 99 bytes, none of them white space or a control byte; others are
 * refused before anything is opened for writing.
 *
 * Results, unless said otherwise: 0 done (the status of sys_fsync_stream on the output); 2 a file
 * to be opened, or a directory of its path, does not exist (nothing is printed); -1 any other
 * failure, reported. */

/** Writes the container of a new element: its first branch (number 0) and that branch's empty
 *  version 0. An existing file at `container_path` is overwritten.
 *  @param create_time  of version 0; stored as given. */
NORVIK_API int tdm_create_elem(uint64_t create_time, const char *element_oid,
                               const char *branch_oid, const char *version_oid,
                               const char *container_path);

/** Adds a branch off version `parent_version` of the branch `parent_branch_oid`. Its version 0,
 *  `version_oid`, has the text of that version. The branch point is written as given: whether the
 *  version exists is the caller's to check.
 *  @param unused  ignored.
 *  @returns as above; 1 when the old container ends where its status record is read again. */
NORVIK_API int tdm_create_branch(uint64_t create_time, const char *branch_oid,
                                 const char *version_oid, const char *new_container_path,
                                 const char *parent_branch_oid, const void *unused,
                                 uint64_t parent_version, const char *container_path);

/** Reconstructs a version.
 *  @param output_path       null or empty: standard output, which stays open.
 *  @param version_oid       of a version that is not deleted.
 *  @param annotation_flags  0: the plain text. Bit 1: each line as `I OID TEXT`, with the oid of
 * the version that inserted it. Bit 2: also lines deleted within the lineage, `D OID,OID TEXT` with
 * inserter and deleter. Bit 4: these, and lines outside the lineage, `U OID TEXT`. A deleted
 * version is named by its nearest newer surviving one, an unknown one by 32 zeros. */
NORVIK_API int tdm_construct_ver(const char *container_path, const char *output_path,
                                 const char *version_oid, uint32_t annotation_flags);

/** Checks a new version in.
 *  @param create_time       stored as given.
 *  @param branch_oid        the version's branch; when the container has none of this oid it is
 * made off version `pred_version_num` of `base_branch_oid`.
 *  @param version_num       must be above every version recorded on the branch, deleted ones too.
 *  @param unused, unused_too ignored.
 *  @param base_branch_oid   used only for a new branch; may be null otherwise.
 *  @param pred_version_num  the predecessor: for a new branch its branch point; otherwise the text
 *                           is always compared with the branch's newest.
 *  @param version_file_path the new text: a regular file of lines that the reader accepts and that
 *                           can be read back once stored (a line that begins with `^` has at most
 *                           7997 bytes before its newline).
 *  @param identical         receives nonzero when the text equals the predecessor's and
 *                           `version_num` is `pred_version_num` + 1; means nothing on failure.
 *  @returns as above; 1 when the old container was opened but futil_stat on it failed. */
NORVIK_API int tdm_store_ver(uint64_t create_time, const char *version_oid, const char *branch_oid,
                             uint64_t version_num, const char *new_container_path,
                             const void *unused, const char *base_branch_oid,
                             uint64_t pred_version_num, const char *container_path,
                             const char *version_file_path, uint64_t unused_too,
                             uint32_t *identical);

/** Deletes versions and branches. A deleted version on which a surviving one depends (a newer one
 * of its branch, a branch made off it) keeps its text in the file and only disappears from view.
 *  @param oid_count_1, oids_1, oid_count_2, oids_2  two lists of oids, treated alike; a count of 0
 * or less means none; no entry may be null. Oids that name nothing have no effect.
 *  @returns as above; a branch whose versions are not all deleted with it fails the call. */
NORVIK_API int tdm_delete_versions_and_branches(const char *container_path,
                                                const char *new_container_path, int32_t oid_count_1,
                                                const char *const *oids_1, int32_t oid_count_2,
                                                const char *const *oids_2);

/** Lists a container's versions and branches, newest first, and its element, one line each:
 *  `V OID NUMBER BRANCH-OID TIME`, `B OID PARENT-OID POINT-OID POINT-NUMBER NIL`,
 *  `E OID BRANCH-OID NIL`; "NIL" stands for what is not there. Deleted versions are left out.
 *  @param output_path  null or empty: standard output, which stays open. */
NORVIK_API int tdm_get_cont_info(const char *container_path, const char *output_path);

/** Prints every line of a container on standard output behind a label that names its kind; stops at
 *  the first bad record. Standard output is neither flushed nor closed.
 *  @param check_printable  nonzero: also warn of the first byte of each line that is neither
 *                          printable nor white space in the current locale.
 *  @returns 0; 2 when the container does not exist (nothing printed); 1 on any other failure. */
NORVIK_API int tdm_dump_container(const char *container_path, int32_t check_printable);

/* ---- Sessions and engine ---- */
typedef struct tdm_session tdm_session;
NORVIK_API int tdm_create_session(int nfiles, const char *const *names, tdm_session **out);
NORVIK_API void tdm_set_operation_context(tdm_session *s, int op_flag, const char *op_name);
NORVIK_API int tdm_destroy_session(tdm_session *s);
NORVIK_API const char *tdm_get_line_text(tdm_session *s, int file_index, int line_number);
NORVIK_API char *tdm_convert_codeset(void *handle, uint32_t from_codeset, uint32_t to_codeset,
                                     const char *text, uint32_t len, char **buf, uint64_t *buf_size,
                                     uint64_t *out_len);
NORVIK_API uint32_t tdm_get_codeset_info(tdm_session *s, uint32_t *file_codeset,
                                         uint32_t *locale_codeset);
NORVIK_API int tdm_engine_enter(tdm_session *s, int *identical);
NORVIK_API int tdm_compare(tdm_session *s, int *identical);
NORVIK_API int tdm_engine_match(tdm_session *s, int i, int j, int32_t **map_i, uint64_t *count_i,
                                int32_t **map_j, uint64_t *count_j);
NORVIK_API void tdm_engine_free_map(int32_t *map);

/* ---- Difference stream ---- */
NORVIK_API int tdm_init_diff_stream(tdm_session *s, uint64_t *head_lines, uint64_t *tail_lines);
NORVIK_API int tdm_get_next_diff(tdm_session *s, uint32_t *end_of_stream, diff_block *block);
NORVIK_API int tdm_get_unchanged_bytes(tdm_session *s, uint32_t file_index, uint64_t *head_bytes,
                                       uint64_t *tail_bytes);
NORVIK_API int tdm_is_same_as_base(tdm_session *s, int file_index, uint32_t *flag);
NORVIK_API void tdm_set_ignore_blanks(tdm_session *s);

#ifdef __cplusplus
}
#endif
#endif
