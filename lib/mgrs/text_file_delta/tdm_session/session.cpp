// Creating, labelling and destroying a session.
#include "tdm_session/session.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "messages/messages.h"
#include "tdm_session/grow_array.h"
#include "tdm_session/line_reader.h"

namespace tdm {
namespace {

constexpr uint64_t first_table_capacity = 1024;
constexpr uint32_t first_bucket_count = 1023;
constexpr uint32_t bucket_growth = 4;

/// A stream's buffer. Sessions of many files take less for each: their reads alternate.
size_t stdio_buffer_size(int file_count) {
    constexpr int few_files = 4;
    return file_count <= few_files ? size_t{1} << 16 : size_t{1} << 14;
}

char *copy_name(const char *name) {
    const size_t size = std::strlen(name) + 1;
    auto *copy = static_cast<char *>(mem_malloc(size));
    if (copy != nullptr) {
        std::memcpy(copy, name, size);
    }
    return copy;
}

int examine_file(const char *name, uint64_t *size) {
    struct stat st {};
    if (name == nullptr) {
        errno = EFAULT;
        report_file_trouble(message::trouble_accessing, "(null)");
        return 1;
    }
    if (futil_stat(name, 1, &st) != 0) {
        report_file_trouble(message::trouble_accessing, name);
        return 1;
    }
    if (!S_ISREG(st.st_mode)) {
        report_failure(message::not_a_text_file, name);
        return 1;
    }
    *size = static_cast<uint64_t>(st.st_size);
    return 0;
}

/// Opens file k. Whatever the result, release_file takes back what it holds.
int open_file(tdm_session *s, int k, int file_count, const char *name) {
    session_file &file = s->files[k];
    file.last_line = -1;
    if (examine_file(name, &file.input.file_size) != 0) {
        return 1;
    }
    file.input.stream = std::fopen(name, "r");
    if (file.input.stream == nullptr) {
        report_file_trouble(message::cannot_open, name);
        return 1;
    }
    const size_t buffer_size = stdio_buffer_size(file_count);
    // Without a buffer of ours the stream is only slower.
    s->stdio_buffer[k] = static_cast<char *>(mem_malloc(buffer_size));
    if (s->stdio_buffer[k] != nullptr) {
        std::setvbuf(file.input.stream, s->stdio_buffer[k], _IOFBF, buffer_size);
    }
    file.input.file_name = copy_name(name);
    if (file.input.file_name == nullptr) {
        return 1;  // silent
    }
    file.lines = array_create<const line_class *>(first_table_capacity);
    if (file.lines == nullptr) {
        report_out_of_memory();
        return 1;
    }
    file.checkpoints = array_create<checkpoint>(first_table_capacity);
    if (file.checkpoints == nullptr) {
        report_out_of_memory();
        return 1;
    }
    return 0;
}

void release_file(tdm_session *s, int k) {
    session_file &file = s->files[k];
    if (file.input.stream != nullptr) {
        std::fclose(file.input.stream);
    }
    mem_free(s->stdio_buffer[k]);
    mem_free(file.input.line);
    mem_free(const_cast<char *>(file.input.file_name));
    array_release(&file.lines);
    array_release(&file.checkpoints);
    array_release(&s->far_points[k]);
}

int fill_session(tdm_session *s, int file_count, const char *const *names) {
    for (int k = 0; k < file_count; ++k) {
        const int status = open_file(s, k, file_count, names == nullptr ? nullptr : names[k]);
        if (status != 0) {
            release_file(s, k);
            return 1;
        }
        ++s->file_count;
    }
    const auto class_size = static_cast<uint32_t>(4 * (file_count < 0 ? 0 : file_count) + 4);
    s->line_classes = ht_flen_create(first_bucket_count, class_size, 1, sizeof(uint64_t));
    if (s->line_classes == nullptr) {
        report_out_of_memory();
        return 1;
    }
    ht_set_dynamic(s->line_classes, bucket_growth);
    return 0;
}

int create_session(int file_count, const char *const *names, tdm_session **out) {
    if (file_count > max_files) {
        *out = nullptr;
        report_failure_text("Too many files were specified for diff or merge: at most 32.\n");
        return 1;
    }
    auto *s = static_cast<tdm_session *>(mem_malloc(sizeof(tdm_session)));
    if (s == nullptr) {
        return 1;  // silent
    }
    std::memset(s, 0, sizeof *s);
    for (int k = 0; k < max_files; ++k) {
        s->stream_at[k] = position_unknown;
        s->diff_done[k] = 1;
        s->diff_kind[k] = kind_not_known;
    }
    *out = s;
    set_up_codesets(s);
    if (fill_session(s, file_count, names) == 0) {
        return 0;
    }
    for (int k = 0; k < s->file_count; ++k) {
        release_file(s, k);
    }
    release_codesets(s);
    guard_inhibit();
    mem_free(s);
    *out = nullptr;
    guard_enable();
    return 1;
}

void destroy_session(tdm_session *s) {
    for (int k = 0; k < s->file_count; ++k) {
        release_file(s, k);
        if (s->file_map[k] != nullptr) {
            tdm_engine_free_map(s->file_map[k]);
        }
        if (s->base_map[k] != nullptr) {
            tdm_engine_free_map(s->base_map[k]);
        }
    }
    if (s->line_classes != nullptr) {
        ht_delete(&s->line_classes);
    }
    mem_free(s->op_name);
    release_codesets(s);
    mem_free(s);
}

void set_operation_context(tdm_session *s, int op_flag, const char *op_name) {
    mem_free(s->op_name);
    s->op_name = nullptr;
    if (op_name != nullptr) {
        s->op_name = mem_strdup(op_name);
        if (s->op_name == nullptr) {
            report_out_of_memory();
        }
    }
    s->op_flag = op_flag;
    for (int k = 0; k < s->file_count; ++k) {
        s->files[k].input.op_is_operation = op_flag;
        s->files[k].input.op_name = s->op_name;
    }
    s->no_op_name = op_name != nullptr && s->op_name == nullptr ? 1 : 0;
    const bool check_in = op_name != nullptr && std::strcmp(op_name, "create_version") == 0;
    if (check_in) {
        s->convert = 0;
    }
    // The line hash collides easily, and a check-in that took a changed line for an unchanged one
    // would lose the change without a word.
    s->exact_classes = check_in ? 1 : 0;
}

}  // namespace
}  // namespace tdm

int tdm_create_session(int nfiles, const char *const *names, tdm_session **out) {
    return out == nullptr ? 1 : tdm::create_session(nfiles, names, out);
}

void tdm_set_operation_context(tdm_session *s, int op_flag, const char *op_name) {
    if (s != nullptr) {
        tdm::set_operation_context(s, op_flag, op_name);
    }
}

int tdm_destroy_session(tdm_session *s) {
    if (s != nullptr) {
        tdm::destroy_session(s);
    }
    return 0;
}

void tdm_set_ignore_blanks(tdm_session *s) {
    if (s != nullptr) {
        s->ignore_blanks = 1;
    }
}
