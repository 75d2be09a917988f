#include "comparison.h"

#include "exit_status.h"

namespace host {

namespace {

int read_stream(comparison *out) {
    uint64_t tail_lines = 0;
    if (tdm_init_diff_stream(out->session.get(), &out->head_lines, &tail_lines) != 0) {
        return status_trouble;
    }
    while (true) {
        uint32_t end = 0;
        diff_block block;
        if (tdm_get_next_diff(out->session.get(), &end, &block) != 0) {
            return status_trouble;
        }
        if (end != 0) {
            return status_done;
        }
        out->blocks.push_back(block);
    }
}

}  // namespace

int compare_files(const std::vector<text_file> &files, const char *operation, bool ignore_blanks,
                  comparison *out) {
    std::vector<const char *> paths;
    for (const text_file &file : files) {
        paths.push_back(file.path.c_str());
    }
    tdm_session *session = nullptr;
    if (tdm_create_session(static_cast<int>(paths.size()), paths.data(), &session) != 0) {
        return status_trouble;
    }
    out->session.reset(session);
    tdm_set_operation_context(session, 1, operation);
    if (ignore_blanks) {
        tdm_set_ignore_blanks(session);
    }
    int identical = 0;
    if (tdm_compare(session, &identical) != 0) {
        return status_trouble;
    }
    out->identical = identical != 0;
    return out->identical ? status_done : read_stream(out);
}

file_edits edits_of(const comparison &c, const std::vector<text_file> &files, size_t index,
                    const edit_list_options &options) {
    if (c.identical) {
        return {};
    }
    common_ends ends;
    ends.head_lines = c.head_lines;
    uint64_t head_bytes = 0;
    (void)tdm_get_unchanged_bytes(c.session.get(), 0, &head_bytes, &ends.base_tail_bytes);
    (void)tdm_get_unchanged_bytes(c.session.get(), static_cast<uint32_t>(index), &head_bytes,
                                  &ends.file_tail_bytes);
    return edits_from_blocks(files[0].lines, files[index].lines, static_cast<uint32_t>(index),
                             c.blocks, ends, options);
}

}  // namespace host
