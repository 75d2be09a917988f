/* libnorviktdm: the text-file delta manager.
 *
 * Rules of the whole interface. One thread at a time; every call runs to its end on the caller's
 * thread. Paths and oids are NUL-terminated strings that the caller owns and that no call keeps,
 * unless said otherwise. A failure is reported once, through msg_print, before the call returns.
 * Where nothing is said of a null pointer it is not allowed: the call reads or writes through it.
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

/** Kinds of differences. */
enum tdm_difference_kind {
    tdm_diff_unchanged,
    tdm_diff_change,
    tdm_diff_insert,
    tdm_diff_delete,
    tdm_diff_moved_insert,
    tdm_diff_moved_delete
};

/** One difference between the base and another file. Line numbers count from 1 in the whole file,
 *  ranges are inclusive. */
typedef struct diff_block {
    uint32_t kind; /* of tdm_difference_kind */
    /* Insertions, moved ones too: base_first = base_last = the base line after which the lines
     * stand (0: before the first). Deletions: the same of other_first and other_last. moved_*: the
     * partner's lines of moved ones, else 0. */
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
 * the name of `out->file_name`. Strings are written as given; a null oid is refused with a report.
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
 * A container that was cut off in its weave reads as a shorter one: an insert run ends with the
 * file. Whether a container is whole is for the caller to look at, before it builds on it.
 *
 * Results, unless said otherwise: 0 done (the status of sys_fsync_stream on the output); 2 a file
 * to be opened, or a directory of its path, does not exist (nothing is printed); -1 any other
 * failure, reported, save that a call may end without a word when there is no memory for its own
 * tables: so may tdm_create_session and tdm_compare. */

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

/** What a reconstruction says beside a version's text, as bits. */
enum tdm_annotation_flag {
    tdm_annotate_lines = 1,   /* the version's own lines, each as `I OID TEXT` */
    tdm_annotate_deleted = 2, /* also lines deleted within the lineage: `D OID,OID TEXT` */
    tdm_annotate_all = 4      /* also these, and lines outside the lineage: `U OID TEXT` */
};

/** Reconstructs a version.
 *  @param output_path       null or empty: standard output, which stays open.
 *  @param version_oid       of a version that is not deleted.
 *  @param annotation_flags  0: the plain text; else bits of tdm_annotation_flag. Lines are given
 *                           with the oid of the version that inserted them and, deleted ones, of
 *                           the one that deleted them. A deleted version is named by its nearest
 *                           newer surviving one, an unknown one by 32 zeros. */
NORVIK_API int tdm_construct_ver(const char *container_path, const char *output_path,
                                 const char *version_oid, uint32_t annotation_flags);

/** Checks a new version in.
 *  @param create_time       stored as given.
 *  @param branch_oid        the version's branch; when the container has none of this oid it is
 *                           made off version `pred_version_num` of `base_branch_oid`.
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
 *                      or less means none; no entry may be null. Oids that name nothing have no
 *                      effect.
 *  @returns as above; a branch whose versions are not all deleted with it fails the call. */
NORVIK_API int tdm_delete_versions_and_branches(const char *container_path,
                                                const char *new_container_path, int32_t oid_count_1,
                                                const char *const *oids_1, int32_t oid_count_2,
                                                const char *const *oids_2);

/** Lists a container's versions and branches, newest first, and its element, one line each:
 *  `V OID NUMBER BRANCH-OID TIME`, `B OID PARENT-OID POINT-OID POINT-NUMBER NIL`,
 *  `E OID BRANCH-OID NIL`; "NIL" stands for what is not there, TIME is in
 *  hexadecimal, upper case, eight digits at least. Deleted versions are left out.
 *  @param output_path  null or empty: standard output, which stays open. */
NORVIK_API int tdm_get_cont_info(const char *container_path, const char *output_path);

/** Prints every line of a container on standard output behind a label that names its kind; stops at
 *  the first bad record. Standard output is neither flushed nor closed.
 *  @param check_printable  nonzero: also warn of the first byte of each line that is neither
 *                          printable nor white space in the current locale.
 *  @returns 0; 2 when the container does not exist (nothing printed); 1 on any other failure. */
NORVIK_API int tdm_dump_container(const char *container_path, int32_t check_printable);

/* ---- Sessions and engine ----
 *
 * A session compares file 0, the base, with up to 31 others. Order of calls: create; set the
 * operation context and ignore-blanks if wanted; compare, once; then line texts, the difference
 * stream and merges; destroy. The files stay open until then and must not change. File indices
 * count from 0 in the order of the names. A null session gives the failure result and no message.
 */

typedef struct tdm_session tdm_session;

/** Opens a session on regular files. The environment variable VT_LANG_CODESET (EUC, SJIS, or
 *  anything else for "detect it") switches the conversion of line texts to the locale's codeset on.
 *  @param nfiles  0 to 32; a comparison needs 2.
 *  @param names   nfiles paths, the base first; copied.
 *  @param out     receives the session, which the caller destroys, or null on failure.
 *  @returns 0; or 1 after reporting a file that cannot be used, too many files or missing memory.
 */
NORVIK_API int tdm_create_session(int nfiles, const char *const *names, tdm_session **out);

/** Names what the session is for, in messages about files that are not text. Before tdm_compare.
 *  The operation "create_version" switches codeset conversion off and keeps lines apart that differ
 *  but have the same line hash.
 *  @param op_flag  nonzero: op_name is an operation; 0: a program.
 *  @param op_name  copied; may be null. Without memory for the copy that is reported, and
 *                  tdm_compare fails. */
NORVIK_API void tdm_set_operation_context(tdm_session *s, int op_flag, const char *op_name);

/** Closes the files and frees everything the session owns, itself included. Null is accepted.
 *  @returns 0. */
NORVIK_API int tdm_destroy_session(tdm_session *s);

/** Reads one line of a file's middle, the part between the head and the tail that all files share,
 *  again. Lines in order are cheap.
 *  @param line_number  from 1, in the whole file.
 *  @returns the line, newline kept, NUL-terminated, in the locale's codeset when conversion is on;
 *           valid until the next line of that file or the next conversion; not the caller's. Null,
 *           without a message, for a file or line that is not there or not in the middle; null
 *           after reporting a failed read. */
NORVIK_API const char *tdm_get_line_text(tdm_session *s, int file_index, int line_number);

/** Converts a text between codesets.
 *  @param handle    a converter of cs_init_language.
 *  @param text      `len` bytes and a NUL.
 *  @param buf       address of the caller's buffer, grown with mem_realloc; null: none yet.
 *  @param buf_size  address of its size in bytes.
 *  @param out_len   receives the length of the result, 0 when there is none.
 *  @returns *buf with the converted text and a NUL; or null when there is nothing to convert (a
 *           code is 0, or both are equal), without memory, or after reporting a text that cannot be
 *           converted. */
NORVIK_API char *tdm_convert_codeset(void *handle, uint32_t from_codeset, uint32_t to_codeset,
                                     const char *text, uint32_t len, char **buf, uint64_t *buf_size,
                                     uint64_t *out_len);

/** Tells the codesets of the files' text and of the locale; 0: not known. Null out-pointers are
 *  accepted. @returns 1 when line texts are converted, else 0. */
NORVIK_API uint32_t tdm_get_codeset_info(tdm_session *s, uint32_t *file_codeset,
                                         uint32_t *locale_codeset);

/** The first half of tdm_compare, which hosts call instead: reads all files and classes their
 * lines. Works once a session.
 *  @param identical  receives 1 when all files are the same, else 0.
 *  @returns 0; or 1 after reporting the failure, and silently on a session that was entered before,
 *           which stays as it was. */
NORVIK_API int tdm_engine_enter(tdm_session *s, int *identical);

/** Reads and compares all files with the base; only compares after tdm_engine_enter. Works once a
 *  session.
 *  @param identical  receives 1 when all files are the same (there is no difference stream then),
 *                    else 0.
 *  @returns 0; or 1 after reporting the failure, and silently on a session that was compared
 *           before, which stays as it was. A file that turns out longer than its size tells (it
 *           grows, or tells no size) is a failure: its text would be cut. */
NORVIK_API int tdm_compare(tdm_session *s, int *identical);

/** Pairs the equal lines of two files' middles; tdm_compare does it for the base and each file.
 *  @param i, j             file indices.
 *  @param map_i, count_i   receive, for every middle line of i (from 0), the index of its partner
 *                          in j, or -1 when its text is not in j, or -2 when it is but stayed
 *                          alone; and the number of entries. The caller frees the map with
 *                          tdm_engine_free_map, also on failure when it was stored.
 *  @param map_j, count_j   the same the other way round.
 *  @returns 0; 1 on a bad index (told on standard output) and, silently, without memory. */
NORVIK_API int tdm_engine_match(tdm_session *s, int i, int j, int32_t **map_i, uint64_t *count_i,
                                int32_t **map_j, uint64_t *count_j);

/** Frees a map of tdm_engine_match. Null is accepted. */
NORVIK_API void tdm_engine_free_map(int32_t *map);

/* ---- Difference stream ----
 *
 * After a comparison that found differences. The blocks walk the base from its front: for each
 * stretch of it first what is inserted before it, by any file, then for each file one block that
 * deals with the stretch. Text that moved is told twice, as tdm_diff_moved_insert
 * where it stands now and as tdm_diff_moved_delete where it stood. The lines of the common head and
 * tail are in no block. */

/** Starts a stream over the compared session; a stream under way is given up.
 *  @param head_lines, tail_lines  receive the lines that all files share at the front and the end.
 *  @returns 0; 1, silently, when an argument is null. */
NORVIK_API int tdm_init_diff_stream(tdm_session *s, uint64_t *head_lines, uint64_t *tail_lines);

/** Gives the next difference.
 *  @param end_of_stream  receives 1 when there is none any more (the block then means nothing),
 *                        else 0.
 *  @returns 0; 1 when the files were not compared, or not successfully, or an argument is null.
 *           Prints nothing. */
NORVIK_API int tdm_get_next_diff(tdm_session *s, uint32_t *end_of_stream, diff_block *block);

/** Tells the bytes that the common head and tail take up in one file.
 *  @returns 0; 1, silently and with nothing stored, when there is no such file. */
NORVIK_API int tdm_get_unchanged_bytes(tdm_session *s, uint32_t file_index, uint64_t *head_bytes,
                                       uint64_t *tail_bytes);

/** Tells whether a file has the same text as the base (1) or not (0). File 0 has 1 unless all files
 *  are identical. @returns 0; 1, silently, when there is no such file. */
NORVIK_API int tdm_is_same_as_base(tdm_session *s, int file_index, uint32_t *flag);

/** Makes the session compare lines without regard to white space. Before tdm_compare; it cannot be
 *  taken back. */
NORVIK_API void tdm_set_ignore_blanks(tdm_session *s);

/* ---- Merge ----
 *
 * Merges what files 1 and up of a compared session changed into the base. Order of calls: start a
 * difference stream; tdm_merge_init_report; tdm_merge_queue_diff with every block of the stream,
 * in its order; tdm_merge_term. The report's lines are printed at severity 0 and
 * count the files from 1, the base being file 1. One merge decides at
 * a time. The session must outlive the merge. */

typedef struct merge_report merge_report;

/** Writes the text of one decision to wherever the host wants it.
 *  @param base_text  1: the base text of the block's region; 0: the block's lines in its own file.
 *  @param automatic  1: decided without asking.
 *  @returns 0; nonzero after reporting a failure, which ends the decision. */
typedef int (*tdm_output_proc)(merge_report *r, tdm_session *s, const diff_block *b, int base_text,
                               int automatic);

/** Asks the user whether to apply a difference; the answer is of msg_answer, anything else counts
 *  as no.
 *  @param default_answer  yes, or no once a difference of the same place was accepted. */
typedef uint64_t (*tdm_ask_proc)(tdm_session *s, const diff_block *b, uint64_t default_answer);

/** When a merge asks; any other value is as tdm_query_ask_conflicts. */
enum tdm_query_mode {
    tdm_query_ask_conflicts = 0, /* decide automatically where it can be done, else ask */
    tdm_query_ask_all = 1,
    tdm_query_never_ask = 2,  /* abort instead */
    tdm_query_trust_last = 3, /* automatic only where the last file agrees */
    tdm_query_ask_all_too = 4 /* the same as tdm_query_ask_all */
};

/** Starts a merge: creates the output file and writes the lines that all files begin with.
 *  @param output_path  must not exist yet; kept until tdm_merge_term. Not used with `output`.
 *  @param mq           of tdm_query_mode.
 *  @param ask          null: ask on the terminal.
 *  @param output       null: write to output_path. Otherwise no file is created and the host writes
 *                      the common head and tail itself.
 *  @param source_file  the file that common text is copied from; not a file index: the base.
 *  @returns the merge, ended and freed by tdm_merge_term; or null after the failure was reported (a
 *           null session excepted). An output file that was created stays when its head could not
 *           be written. */
NORVIK_API merge_report *tdm_merge_init_report(tdm_session *s, const char *output_path, int mq,
                                               tdm_ask_proc ask, tdm_output_proc output,
                                               int source_file);

/** Takes the next block of the stream; decides and writes what came before when it is complete.
 *  @param b  copied.
 *  @returns 0; 1 when the user aborted, no decision was possible or writing failed, all reported:
 *           what was to be decided is still pending, and tdm_merge_term decides it again. 1,
 *           silently, for a null argument, a block of no file or of kind 0xFFFFFFFF, and when text
 *           is wanted of lines that a block names outside the middle of their file. */
NORVIK_API int tdm_merge_queue_diff(merge_report *r, const diff_block *b);

/** Ends a merge and frees it: decides and writes what is left, or gives it up.
 *  @param abandon  nonzero: remove the output.
 *  @returns 0 when the output is complete; 1 on abandon or after the failure was reported: an
 *           output file that the merge created is removed. */
NORVIK_API int tdm_merge_term(merge_report *r, int abandon);

/** Changes the query mode for the decisions that follow. */
NORVIK_API void tdm_merge_change_mq(merge_report *r, int mq);

#ifdef __cplusplus
}
#endif
#endif
