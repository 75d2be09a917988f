/* Host services that libnorviktdm calls. A host may replace any of them: every call from the
 * library goes through the dynamic symbol. */
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
/* A message catalogue: `count` printf formats and their catalogue numbers, both by index. */
typedef struct msg_table {
    const char *facility_name, *facility_prefix;
    uint16_t highest_number, count;
    const char *const *texts;
    const uint16_t *numbers;
} msg_table;
#endif

/* Memory. */
NORVIK_API void *mem_malloc(size_t size);
NORVIK_API void *mem_calloc(size_t count, size_t size);
NORVIK_API void *mem_realloc(void *block, size_t size);
NORVIK_API void mem_free(void *block);
NORVIK_API char *mem_strdup(const char *text);
typedef struct mem_area mem_area;
NORVIK_API mem_area *mem_area_create(size_t block_size);
NORVIK_API char *mem_area_strdup(mem_area *area, const char *text);
NORVIK_API void mem_area_delete(mem_area **area);

/* Hash tables. */
typedef struct hash_table hash_table;
NORVIK_API hash_table *ht_flen_create(uint32_t buckets, uint32_t data_size, int one,
                                      uint32_t key_size);
NORVIK_API int ht_flen_enter(hash_table *t, const void *key, void **stored_key, void **data);
NORVIK_API int ht_flen_lookup(hash_table *t, const void *key, void **stored_key, void **data);
NORVIK_API hash_table *ht_int_create(uint32_t buckets, uint32_t data_size);
NORVIK_API int ht_int_enter(hash_table *t, uint64_t key, void **stored_key, void **data);
NORVIK_API int ht_int_lookup(hash_table *t, uint64_t key, void **stored_key, void **data);
NORVIK_API hash_table *ht_str_create(uint32_t buckets, uint32_t data_size, int zero);
NORVIK_API int ht_str_enter(hash_table *t, const char *key, void **stored_key, void **data);
NORVIK_API int ht_str_lookup(hash_table *t, const char *key, void **stored_key, void **data);
NORVIK_API void ht_set_dynamic(hash_table *t, uint32_t growth_factor);
NORVIK_API void ht_delete(hash_table **t);

/* Messages. */
NORVIK_API void msg_print(int severity, const void *catalogue, int index, ...);
NORVIK_API int msg_sprintf(char *buffer, const void *catalogue, int index, ...);
NORVIK_API const char *msg_strerror(int errnum);
NORVIK_API uint64_t msg_prompt_yes_no(int zero, const char *question, uint64_t allowed,
                                      uint64_t default_answer);
NORVIK_API extern const msg_table shared_msg_table;
NORVIK_API void msg_print_shared(int severity, const char *prefix, const msg_table *catalogue,
                                 int number, ...);
NORVIK_API void log_internal_error(const char *prefix, const msg_table *catalogue, int index,
                                   const char *unit, int line, int zero, ...);

/* Files and system. */
NORVIK_API int futil_stat(const char *path, int one, struct stat *st);
NORVIK_API FILE *futil_tmpfile_binary(void *null1, void *null2, void *null3, char *name,
                                      size_t name_size);
typedef struct bw_reader bw_reader;
NORVIK_API bw_reader *futil_bw_start(FILE *stream, int one);
NORVIK_API char *futil_bw_fgets(char *buffer, int size, bw_reader *reader, int *ignored,
                                int *at_start);
NORVIK_API void futil_bw_stop(bw_reader *reader);
NORVIK_API int sys_fsync_stream(FILE *stream);
NORVIK_API int sys_nfs_flush(const char *path);
NORVIK_API int str_cmp_ignore_whitespace(const char *a, const char *b);
NORVIK_API void guard_inhibit(void);
NORVIK_API void guard_enable(void);

/* Codesets. */
NORVIK_API uint32_t cs_get_locale_codeset(void);
NORVIK_API void *cs_init_language(void);
NORVIK_API uint32_t cs_detect_codeset(const char *text, size_t len);
NORVIK_API int cs_convert_encodings(void *converter, uint32_t from, uint32_t to, const char *text,
                                    size_t len, char *out, size_t out_capacity, uint64_t *out_len);
NORVIK_API void cs_exit(void *converter);

#ifdef __cplusplus
}
#endif
#endif
