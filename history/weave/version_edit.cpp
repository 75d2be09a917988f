// The comparison is that of two texts in memory (text_compare.h). The new text is walked once, line
// by line, beside the edits; what an edit inserts is copied.
#include "version_edit.h"

#include "stored_line.h"
#include "text_compare.h"
#include "text_line.h"

namespace norvik {

namespace {

// Hands out the new text's lines in their stored form, in order.
class line_source {
public:
    line_source(const std::string &name, std::string_view text) : name_(name), rest_(text) {}

    // Appends lines `first` to `end` - 1 (from 0) as the container stores them.
    result<> store(std::int32_t first, std::int32_t end, std::string &stored) {
        for (; line_ < first; line_++) {
            rest_.remove_prefix(line_size());
        }
        for (; line_ < end; line_++) {
            const std::string_view line = rest_.substr(0, line_size());
            rest_.remove_prefix(line.size());
            if (!can_be_stored(line)) {
                return refuse_line(name_, static_cast<std::uint64_t>(line_) + 1, line);
            }
            stored += format::prefix_of_text(line);
            stored += line;
            stored += line.back() == '\n' ? "" : "\n";
        }
        return {};
    }

private:
    std::size_t line_size() const {
        const std::size_t newline = rest_.find('\n');
        return newline == std::string_view::npos ? rest_.size() : newline + 1;
    }

    const std::string &name_;
    std::string_view rest_;
    std::int32_t line_ = 0;  // number of the line at the start of `rest_`
};

result<> apply_edit(import_weave &weave, line_source &lines, const edit &e) {
    weave.keep_until(static_cast<std::uint64_t>(e.base_first));
    if (e.base_end > e.base_first) {
        weave.delete_until(static_cast<std::uint64_t>(e.base_end));
    }
    if (e.file_end == e.file_first) {
        return {};
    }
    std::string stored;
    auto done = lines.store(e.file_first, e.file_end, stored);
    if (done) {
        weave.insert(std::move(stored), static_cast<std::uint64_t>(e.file_end - e.file_first));
    }
    return done;
}

}  // namespace

result<> weave_version(import_weave &weave, version_id id, std::string_view before,
                       std::string_view text, const std::string &name) {
    line_source lines(name, text);
    weave.begin_edit(id);
    for (const edit &e : compare_texts(before, text)) {
        if (auto done = apply_edit(weave, lines, e); !done) {
            return done;
        }
    }
    weave.end_edit();
    return {};
}

}  // namespace norvik
