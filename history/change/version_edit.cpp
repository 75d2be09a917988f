// The comparison is the library's own, so that the weave becomes the one that a check-in writes.
// The new text is walked once, line by line, beside the stream of differences.
#include "version_edit.h"

#include <norviktdm/tdm.h>

#include <cstring>

#include "record_line.h"

namespace norvik {

namespace {

// A comparison as the library's check-in makes it.
class comparison {
public:
    ~comparison() {
        if (session_ != nullptr) {
            (void)tdm_destroy_session(session_);
        }
    }

    bool start(const std::string &before_path, const std::string &path, bool &identical,
               std::uint64_t &head_lines) {
        const char *const names[] = {before_path.c_str(), path.c_str()};
        if (tdm_create_session(2, names, &session_) != 0) {
            return false;
        }
        tdm_set_operation_context(session_, 1, "create_version");
        int same = 0;
        std::uint64_t tail_lines = 0;
        if (tdm_compare(session_, &same) != 0) {
            return false;
        }
        identical = same != 0;
        return identical || tdm_init_diff_stream(session_, &head_lines, &tail_lines) == 0;
    }

    bool next(bool &at_end, diff_block &block) {
        std::uint32_t end_of_stream = 0;
        const bool done = tdm_get_next_diff(session_, &end_of_stream, &block) == 0;
        at_end = end_of_stream != 0;
        return done;
    }

private:
    tdm_session *session_ = nullptr;
};

// Hands out the new text's lines in their stored form, in order.
class line_source {
public:
    line_source(const std::string &name, std::string_view text) : name_(name), rest_(text) {}

    // Appends lines `first` to `last` (from 1) as the container stores them; fails when one cannot
    // be stored or does not exist.
    result<> store(std::int32_t first, std::int32_t last, std::string &stored) {
        for (; line_ < first && !rest_.empty(); line_++) {
            rest_.remove_prefix(line_size());
        }
        for (; line_ <= last; line_++) {
            if (rest_.empty()) {
                return refusal(name_, "was changed while it was read");
            }
            const std::string_view line = rest_.substr(0, line_size());
            rest_.remove_prefix(line.size());
            if (auto done = store_line(line, stored); !done) {
                return done;
            }
        }
        return {};
    }

private:
    std::size_t line_size() const {
        const std::size_t newline = rest_.find('\n');
        return newline == std::string_view::npos ? rest_.size() : newline + 1;
    }

    result<> store_line(std::string_view line, std::string &stored) const {
        if (!format::can_be_read_back(line) || line.find('\0') != std::string_view::npos) {
            failure why = refusal(name_, "not a line of text that can be stored");
            why.line = static_cast<std::uint64_t>(line_);
            return why;
        }
        stored += format::prefix_of_text(line);
        stored += line;
        stored += line.back() == '\n' ? "" : "\n";
        return {};
    }

    const std::string &name_;
    std::string_view rest_;
    std::int32_t line_ = 1;  // number of the line at the start of `rest_`
};

result<> insert_lines(import_weave &weave, line_source &lines, const diff_block &block) {
    std::string stored;
    auto done = lines.store(block.other_first, block.other_last, stored);
    if (done) {
        weave.insert(std::move(stored),
                     static_cast<std::uint64_t>(block.other_last - block.other_first + 1));
    }
    return done;
}

result<> apply_block(import_weave &weave, line_source &lines, const diff_block &block) {
    const auto first = static_cast<std::uint64_t>(block.base_first);
    const auto last = static_cast<std::uint64_t>(block.base_last);
    switch (block.kind) {
        case tdm_diff_unchanged:
            weave.keep_until(last);
            return {};
        case tdm_diff_change:
        case tdm_diff_delete:
        case tdm_diff_moved_delete:
            weave.keep_until(first - 1);
            weave.delete_until(last);
            return block.kind != tdm_diff_change ? result<>() : insert_lines(weave, lines, block);
        case tdm_diff_insert:
        case tdm_diff_moved_insert:
            weave.keep_until(first);
            return insert_lines(weave, lines, block);
        default:
            return refusal({}, "the comparison gives a difference of an unknown kind");
    }
}

}  // namespace

result<> weave_version(import_weave &weave, version_id id, const std::string &before_path,
                       const std::string &path, const std::string &name, std::string_view text) {
    comparison differences;
    bool identical = false;
    std::uint64_t head_lines = 0;
    if (!differences.start(before_path, path, identical, head_lines)) {
        return refusal(name, "cannot be imported");
    }
    if (identical) {
        return {};
    }
    line_source lines(name, text);
    weave.begin_edit(id);
    weave.keep_until(head_lines);
    result<> done;
    for (bool at_end = false; done;) {
        diff_block block{};
        if (!differences.next(at_end, block)) {
            done = refusal(name, "cannot be imported");
        } else if (at_end) {
            break;
        } else if (done = apply_block(weave, lines, block); !done) {
            done.failure().file = name;
            done.failure().follows = "cannot be imported";
        }
    }
    weave.end_edit();
    return done;
}

}  // namespace norvik
