#include "tdm_container/container_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "messages/messages.h"
#include "tdm_container/codec.h"
#include "tdm_session/line_reader.h"

namespace tdm {
namespace {

constexpr size_t stdio_buffer_size = size_t{1} << 17;
constexpr int32_t line_buffer_size = 256;

/// A large buffer for a stream that has not been used yet. Without one the stream is only slower.
char *enlarge_buffer(FILE *stream) {
    auto *buffer = static_cast<char *>(mem_malloc(stdio_buffer_size));
    if (buffer != nullptr && setvbuf(stream, buffer, _IOFBF, stdio_buffer_size) != 0) {
        mem_free(buffer);
        buffer = nullptr;
    }
    return buffer;
}

int report_open_failure(const char *path) {
    if (errno == ENOENT) {
        return status_missing;
    }
    report_file_trouble(message::cannot_open, path);
    return status_failed;
}

int refuse_null_path() {
    errno = EFAULT;
    return report_open_failure("(null)");
}

bool same_file(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

int refuse_same_file(const char *output, const char *input) {
    report_failure_text(
        "\"%s\" is the same file as \"%s\", which is being read: nothing was written.\n", output,
        input);
    return status_failed;
}

/// The output, described by `target`, must not be a file that the operation reads.
int check_not_read(const struct stat &target, const char *name, const container_input *c,
                   const char *other_input) {
    if (!S_ISREG(target.st_mode)) {
        return 0;
    }
    struct stat read {};
    if (c != nullptr && fstat(fileno(c->in.stream), &read) == 0 && same_file(target, read)) {
        return refuse_same_file(name, c->in.file_name);
    }
    if (other_input != nullptr && stat(other_input, &read) == 0 && same_file(target, read)) {
        return refuse_same_file(name, other_input);
    }
    return 0;
}

}  // namespace

container_input::~container_input() {
    if (in.stream != nullptr) {
        std::fclose(in.stream);
    }
    mem_free(stdio_buffer);
    mem_free(in.line);
}

text_output::~text_output() {
    if (out.stream != nullptr && out.stream != stdout) {
        std::fclose(out.stream);
    }
    mem_free(stdio_buffer);
}

int open_container(container_input *c, const char *path, const char *operation) {
    if (path == nullptr) {
        return refuse_null_path();
    }
    c->in.stream = std::fopen(path, "r");
    if (c->in.stream == nullptr) {
        return report_open_failure(path);
    }
    c->stdio_buffer = enlarge_buffer(c->in.stream);
    c->in.line = static_cast<char *>(mem_malloc(line_buffer_size));
    if (c->in.line == nullptr) {
        return status_failed;
    }
    c->in.capacity = line_buffer_size;
    c->in.op_is_operation = 1;
    c->in.op_name = operation;
    c->in.file_name = path;
    struct stat st {};
    if (fstat(fileno(c->in.stream), &st) != 0) {
        report_file_trouble(message::trouble_accessing, path);
        return status_failed;
    }
    c->in.file_size = static_cast<uint64_t>(st.st_size);
    return status_done;
}

int next_line(container_input *c, bool *at_eof) {
    size_t length = 0;
    if (read_line(&c->in, &c->position, &length, at_eof) != 0) {
        return 1;
    }
    c->line = {c->in.line, length};
    return 0;
}

int rewind_container(container_input *c) {
    if (fseeko(c->in.stream, 0, SEEK_SET) != 0) {
        report_file_trouble(message::trouble_accessing, c->in.file_name);
        return 1;
    }
    clearerr(c->in.stream);
    c->position = 0;
    return 0;
}

int skip_old_status(container_input *c, int when_empty) {
    bool at_eof = false;
    if (rewind_container(c) != 0 || next_line(c, &at_eof) != 0) {
        return status_failed;
    }
    if (at_eof) {
        report_bad_record(c->in.file_name, "<EOF>");
        return when_empty;
    }
    return status_done;
}

int find_status_control_record(container_input *c, uint64_t *format, uint64_t *highest_branch) {
    bool at_eof = false;
    if (next_line(c, &at_eof) != 0) {
        return 1;
    }
    const char *const line = c->in.line;
    if (at_eof || !is_record(c->line, 'S') ||
        tdm_cntutl_decode_status(line, format, highest_branch) != 0) {
        report_bad_record(c->in.file_name, at_eof ? "<EOF>" : line);
    } else if (*format != known_formats) {
        // The text takes an unsigned int; a format number is never larger in a sound container.
        report_failure(message::unknown_format, static_cast<unsigned>(*format));
    } else {
        return 0;
    }
    report_failure(message::not_a_container, c->in.file_name);
    return 1;
}

void adopt_stream(text_output *o, FILE *stream, const char *file_name, const char *operation) {
    o->out.stream = stream;
    o->out.file_name = file_name;
    o->out.op_is_operation = operation == nullptr ? 0 : 1;
    o->out.op_name = operation;
    o->stdio_buffer = stream == stdout ? nullptr : enlarge_buffer(stream);
}

int open_output(text_output *o, const char *path, const char *operation, const container_input *c,
                const char *other_input) {
    if (path != nullptr && *path != '\0') {
        return open_new_container(o, path, operation, c, other_input);
    }
    adopt_stream(o, stdout, "<stdout>", nullptr);
    struct stat target {};
    return fstat(fileno(stdout), &target) == 0
               ? check_not_read(target, o->out.file_name, c, other_input)
               : status_done;
}

int open_new_container(text_output *o, const char *path, const char *operation,
                       const container_input *c, const char *other_input) {
    if (path == nullptr) {
        return refuse_null_path();
    }
    struct stat target {};
    if (stat(path, &target) == 0 && check_not_read(target, path, c, other_input) != 0) {
        return status_failed;
    }
    FILE *const stream = std::fopen(path, "w");
    if (stream == nullptr) {
        return report_open_failure(path);
    }
    adopt_stream(o, stream, path, operation);
    return status_done;
}

int close_output(text_output *o) {
    FILE *const stream = o->out.stream;
    if (stream == stdout) {
        return status_done;
    }
    o->out.stream = nullptr;
    if (std::fclose(stream) != 0) {
        report_file_trouble(message::trouble_accessing, o->out.file_name);
        return status_failed;
    }
    return status_done;
}

int finish_output(text_output *o) {
    const int status = sys_fsync_stream(o->out.stream);
    if (status != 0) {
        report_file_trouble(message::trouble_accessing, o->out.file_name);
        return status;
    }
    return close_output(o);
}

int write_text(text_output *o, std::string_view bytes) {
    if (fwrite_unlocked(bytes.data(), 1, bytes.size(), o->out.stream) != bytes.size()) {
        report_file_trouble(message::trouble_writing, o->out.file_name);
        return 1;
    }
    return 0;
}

}  // namespace tdm
