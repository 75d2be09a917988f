// The comparison is that of two texts in memory (text_compare.h), by the lines that the container
// stores. The new text is walked once, line by line, beside the edits; what an edit inserts is
// copied.
#include "version_edit.h"

#include "text_compare.h"
#include "text_line.h"

namespace norvik {

namespace {

// Hands out the new text's lines in their stored form, in order.
class line_source {
public:
    line_source(const std::string &name, const stored_text &text)
        : name_(name), text_(text), rest_(text.text) {}

    // Appends stored lines `first` to `end` - 1 (from 0) as the container has them.
    result<> store(std::int32_t first, std::int32_t end, std::string &stored) {
        for (; line_ < first; line_++) {
            rest_.remove_prefix(line_size());
        }
        for (; line_ < end; line_++) {
            const std::string_view line = rest_.substr(0, line_size());
            rest_.remove_prefix(line.size());
            if (!can_be_stored(line)) {
                return refuse_line(name_, text_.text,
                                   static_cast<std::size_t>(line.data() - text_.text.data()));
            }
            stored += format::prefix_of_text(line);
            stored += line;
            stored += line.back() == '\n' ? "" : "\n";
        }
        return {};
    }

private:
    std::size_t line_size() const {
        if (text_.lines) {
            return text_.lines->line(line_).size();
        }
        const std::size_t newline = rest_.find('\n');
        return newline == std::string_view::npos ? rest_.size() : newline + 1;
    }

    const std::string &name_;
    const stored_text &text_;
    std::string_view rest_;
    std::int32_t line_ = 0;  // number of the line at the start of `rest_`
};

std::vector<edit> compare(const stored_text &before, const stored_text &text) {
    if (!before.lines && !text.lines) {
        return compare_texts(before.text, text.text);
    }
    const auto lines_of = [](const stored_text &t) {
        return t.lines ? *t.lines : split_lines(t.text);
    };
    return compare_lines(lines_of(before), lines_of(text), {}).edits;
}

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

result<> weave_version(import_weave &weave, version_id id, const stored_text &before,
                       const stored_text &text, const std::string &name) {
    line_source lines(name, text);
    weave.begin_edit(id);
    for (const edit &e : compare(before, text)) {
        if (auto done = apply_edit(weave, lines, e); !done) {
            return done;
        }
    }
    weave.end_edit();
    return {};
}

}  // namespace norvik
