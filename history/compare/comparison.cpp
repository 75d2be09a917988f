// The library pairs the lines, in one stream for all texts; the blocks are kept, 32 bytes each, and
// looked through once for every text.
#include "comparison.h"

#include <algorithm>

#include "stored_line.h"
#include "text_compare.h"

namespace norvik {

namespace {

bool have_long_lines(const std::vector<lined_text> &files) {
    return std::ranges::any_of(
        files, [](const lined_text &file) { return has_long_line(file.lines.bytes); });
}

// What the library asks of texts besides the length of their lines.
result<> refuse_binary(const std::vector<lined_text> &files) {
    for (const lined_text &file : files) {
        const std::size_t nul = file.lines.bytes.find('\0');
        if (nul != std::string_view::npos) {
            return refuse_line(file.name, file.lines.bytes, nul);
        }
    }
    return {};
}

// Every line of a file that has a partner comes in an unchanged block or in a moved insertion.
paired_lines pairs_of(const std::vector<diff_block> &blocks, std::uint32_t file_index) {
    paired_lines pairs;
    for (const diff_block &b : blocks) {
        if (b.file_index == file_index && b.kind == tdm_diff_unchanged) {
            pairs.in_place.push_back(
                {b.base_first - 1, b.other_first - 1, b.base_last - b.base_first + 1});
        } else if (b.file_index == file_index && b.kind == tdm_diff_moved_insert) {
            pairs.crossing.push_back(
                {b.moved_first - 1, b.other_first - 1, b.other_last - b.other_first + 1});
        }
    }
    return pairs;
}

result<> read_stream(std::size_t files, comparison *out) {
    std::uint64_t tail_lines = 0;
    if (tdm_init_diff_stream(out->session.get(), &out->head_lines, &tail_lines) != 0) {
        return told_failure();
    }
    for (std::size_t i = 0; i < files; i++) {
        std::uint64_t head_bytes = 0;
        (void)tdm_get_unchanged_bytes(out->session.get(), static_cast<std::uint32_t>(i),
                                      &head_bytes, &out->tail_bytes.emplace_back());
    }
    while (true) {
        std::uint32_t end = 0;
        diff_block block;
        if (tdm_get_next_diff(out->session.get(), &end, &block) != 0) {
            return told_failure();
        }
        if (end != 0) {
            return {};
        }
        out->blocks.push_back(block);
    }
}

}  // namespace

result<> compare_files(std::vector<lined_text> *files, const char *operation, bool ignore_blanks,
                       after_compare after, comparison *out) {
    for (lined_text &file : *files) {
        if (auto read = read_lines(&file); !read) {
            return read;
        }
    }
    if (after == after_compare::close_session && have_long_lines(*files)) {
        out->own = true;
        return refuse_binary(*files);
    }
    std::vector<const char *> paths;
    for (const lined_text &file : *files) {
        paths.push_back(file.path.path().c_str());
    }
    tdm_session *session = nullptr;
    if (tdm_create_session(static_cast<int>(paths.size()), paths.data(), &session) != 0) {
        return told_failure();
    }
    out->session.reset(session);
    tdm_set_operation_context(session, 1, operation);
    if (ignore_blanks) {
        tdm_set_ignore_blanks(session);
    }
    int identical = 0;
    if (tdm_compare(session, &identical) != 0) {
        return told_failure();
    }
    out->identical = identical != 0;
    if (!out->identical) {
        if (auto read = read_stream(paths.size(), out); !read) {
            return read;
        }
    }
    if (after == after_compare::close_session) {
        out->session.reset();
    }
    return {};
}

file_edits edits_of(const comparison &c, const std::vector<lined_text> &files, std::size_t index,
                    const edit_list_options &options) {
    if (c.own) {
        return compare_lines(files[0].lines, files[index].lines, options);
    }
    common_ends ends;
    if (c.identical) {
        // The library may have left blanks out of account, so the texts are looked at all the same.
        ends.head_lines = static_cast<std::uint64_t>(files[0].lines.count());
    } else {
        ends = {c.head_lines, c.tail_bytes[0], c.tail_bytes[index]};
    }
    return edits_from_pairs(files[0].lines, files[index].lines,
                            pairs_of(c.blocks, static_cast<std::uint32_t>(index)), ends, options);
}

}  // namespace norvik
