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

/* One open file as the line reader sees it. */
typedef struct line_stream {
    FILE *stream;
    int32_t op_is_operation;
    const char *op_name;
    char *line;
    int32_t capacity;
    uint64_t file_size;
    const char *file_name;
} line_stream;

/* One difference of the stream. */
typedef struct diff_block {
    uint32_t kind;
    int32_t base_first, base_last, other_first, other_last, moved_first, moved_last;
    uint32_t file_index;
} diff_block;

/* ---- Identification and catalogue ---- */
NORVIK_API extern const msg_table _tdm_text_file_delta_msg_table;
NORVIK_API const char *const *libnorviktdm_copyright_array(void);
NORVIK_API void libnorviktdm_print_verid(void);
NORVIK_API void libnorviktdm_sprintf_verid(char *buffer);

/* ---- Reader ---- */
NORVIK_API int tdm_read_long_line(line_stream *in, int *at_eof);

/* ---- Record codec ---- */
NORVIK_API extern uint64_t known_formats;
NORVIK_API int tdm_cntutl_encode_text(line_stream *out, const char *text);
NORVIK_API int tdm_cntutl_encode_status(line_stream *out, uint64_t format, uint64_t highest_branch);
NORVIK_API int tdm_cntutl_encode_cre_ele(line_stream *out, const char *element_oid);
NORVIK_API int tdm_cntutl_encode_cre_bra(line_stream *out, const char *branch_oid, uint64_t branch,
                                         uint64_t parent_branch, uint64_t parent_version);
NORVIK_API int tdm_cntutl_encode_cre_ver(line_stream *out, const char *version_oid, uint64_t branch,
                                         uint64_t version, uint64_t create_time);
NORVIK_API int tdm_cntutl_encode_delete(line_stream *out, uint64_t branch, uint64_t version,
                                        uint64_t line_count);
NORVIK_API int tdm_cntutl_encode_insert(line_stream *out, uint64_t branch, uint64_t version,
                                        uint64_t line_count);
NORVIK_API int tdm_cntutl_decode_status(const char *line, uint64_t *format,
                                        uint64_t *highest_branch);
NORVIK_API int tdm_cntutl_decode_cre_ele(const char *line, char *element_oid);
NORVIK_API int tdm_cntutl_decode_cre_bra(const char *line, char *oid, uint64_t *first,
                                         uint64_t *second, uint64_t *third);
NORVIK_API int tdm_cntutl_decode_cre_ver(const char *line, char *oid, uint64_t *first,
                                         uint64_t *second, uint64_t *third);
NORVIK_API int tdm_cntutl_decode_delete(const char *line, uint64_t *branch, uint64_t *version,
                                        uint64_t *line_count);
NORVIK_API int tdm_cntutl_decode_insert(const char *line, uint64_t *branch, uint64_t *version,
                                        uint64_t *line_count);

/* ---- Container operations ---- */
NORVIK_API int tdm_create_elem(uint64_t create_time, const char *element_oid,
                               const char *branch_oid, const char *version_oid,
                               const char *container_path);
NORVIK_API int tdm_create_branch(uint64_t create_time, const char *branch_oid,
                                 const char *version_oid, const char *new_container_path,
                                 const char *parent_branch_oid, const void *unused,
                                 uint64_t parent_version, const char *container_path);
NORVIK_API int tdm_construct_ver(const char *container_path, const char *output_path,
                                 const char *version_oid, uint32_t annotation_flags);
NORVIK_API int tdm_store_ver(uint64_t create_time, const char *version_oid, const char *branch_oid,
                             uint64_t version_num, const char *new_container_path,
                             const void *unused, const char *base_branch_oid,
                             uint64_t pred_version_num, const char *container_path,
                             const char *version_file_path, uint64_t unused_too,
                             uint32_t *identical);
NORVIK_API int tdm_delete_versions_and_branches(const char *container_path,
                                                const char *new_container_path,
                                                int32_t oid_count_1, const char *const *oids_1,
                                                int32_t oid_count_2, const char *const *oids_2);
NORVIK_API int tdm_get_cont_info(const char *container_path, const char *output_path);
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
