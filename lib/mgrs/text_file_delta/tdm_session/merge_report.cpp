// Opening and ending a merge.
#include "tdm_session/merge_report.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "messages/messages.h"

namespace tdm {
namespace {

void close_and_free(merge_report *r) {
    if (r->source_stream != nullptr) {
        std::fclose(r->source_stream);
    }
    if (r->output_stream != nullptr) {
        std::fclose(r->output_stream);
    }
    mem_free(r);
}

/// Creates the output file, which must not exist yet.
FILE *create_output(const char *path) {
    constexpr mode_t mode = 0666;
    if (path == nullptr) {
        errno = EFAULT;
        return nullptr;
    }
    const int descriptor = open(path, O_WRONLY | O_CREAT | O_EXCL, mode);
    if (descriptor < 0) {
        return nullptr;
    }
    FILE *const stream = fdopen(descriptor, "w");
    if (stream == nullptr) {
        const int error = errno;
        close(descriptor);
        std::remove(path);
        errno = error;
    }
    return stream;
}

int open_streams(merge_report *r, const char *output_path) {
    r->source_stream = std::fopen(r->source_path, "r");
    if (r->source_stream == nullptr) {
        report_file_trouble(message::cannot_open, r->source_path);
        return 1;
    }
    if (r->output_proc != tdm_dft_output_proc) {
        r->output_path = "";
        return 0;
    }
    r->output_path = output_path == nullptr ? "(null)" : output_path;
    r->output_stream = create_output(output_path);
    if (r->output_stream == nullptr) {
        report_file_trouble(message::cannot_open, r->output_path);
        return 1;
    }
    return 0;
}

merge_report *init_report(tdm_session *s, const char *output_path, int mq, tdm_ask_proc ask,
                          tdm_output_proc output, int source_file) {
    if (s->file_count == 0) {
        report_failure(message::too_few_files);
        return nullptr;
    }
    if (s->file_count > 1 && s->state != session_state::compared) {
        report_failure_text("Files that were not compared cannot be merged.\n");
        return nullptr;
    }
    auto *r = static_cast<merge_report *>(mem_malloc(sizeof(merge_report)));
    if (r == nullptr) {
        report_out_of_memory();
        return nullptr;
    }
    *r = {};
    r->session = s;
    r->mq = mq;
    r->file_count = s->file_count;
    r->source_file = source_file >= 0 && source_file < r->file_count ? source_file : 0;
    r->ask_proc = ask == nullptr ? tdm_dft_ask_proc : ask;
    r->output_proc = output == nullptr ? tdm_dft_output_proc : output;
    r->source_path = s->files[r->source_file].input.file_name;
    r->group_start = r->group_end = s->head.line_count;
    empty_group(r);
    if (open_streams(r, output_path) != 0 || move_unchanged_data_from_base(r, true) != 0) {
        close_and_free(r);
        return nullptr;
    }
    return r;
}

/// Decides what is left and writes the rest. A full disk may show only in the flush.
int finish_output(merge_report *r) {
    if (decide_now(r) != 0 || move_unchanged_data_from_base(r, false) != 0) {
        return 1;
    }
    if (r->output_stream == nullptr) {
        return 0;
    }
    // A write that failed earlier was reported then, even if its caller went on.
    if (std::ferror(r->output_stream) != 0) {
        return 1;
    }
    if (std::fflush(r->output_stream) != 0) {
        report_file_trouble(message::trouble_accessing, r->output_path);
        return 1;
    }
    return 0;
}

int terminate(merge_report *r, bool abandon) {
    const int status = abandon ? 1 : finish_output(r);
    if (status != 0 && r->output_stream != nullptr) {
        std::fclose(r->output_stream);
        r->output_stream = nullptr;
        if (std::remove(r->output_path) != 0) {
            report_file_trouble(message::trouble_removing, r->output_path);
        }
    }
    close_and_free(r);
    return status;
}

}  // namespace
}  // namespace tdm

merge_report *tdm_merge_init_report(tdm_session *s, const char *output_path, int mq,
                                    tdm_ask_proc ask, tdm_output_proc output, int source_file) {
    return s == nullptr ? nullptr : tdm::init_report(s, output_path, mq, ask, output, source_file);
}

int tdm_merge_term(merge_report *r, int abandon) {
    return r == nullptr ? 1 : tdm::terminate(r, abandon != 0);
}

void tdm_merge_change_mq(merge_report *r, int mq) {
    if (r != nullptr) {
        r->mq = mq;
    }
}
