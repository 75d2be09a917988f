// An edit is compared as a gap between lines is, with words in the place of lines (gap_match.h),
// which bounds its cost. What is equal is written once, as the file has it.
#include <algorithm>

#include "diff_output.h"
#include "escaped_text.h"
#include "gap_match.h"

namespace norvik {

namespace {

constexpr const char *plain = "\x1b[m";

enum class byte_kind { word, blank, newline, other };

byte_kind kind_of(char c) {
    if (c == '\n') {
        return byte_kind::newline;
    }
    if (c == ' ' || (c >= '\t' && c <= '\r')) {
        return byte_kind::blank;
    }
    const bool word = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                      c == '_' || static_cast<unsigned char>(c) >= 0x80;
    return word ? byte_kind::word : byte_kind::other;
}

// The words of a text in the place of lines: runs of letters and digits, runs of blanks, and every
// other byte by itself.
text_lines split_words(std::string_view bytes) {
    text_lines words;
    words.bytes = bytes;
    for (std::size_t at = 0; at < bytes.size();) {
        const byte_kind kind = kind_of(bytes[at]);
        std::size_t end = at + 1;
        while ((kind == byte_kind::word || kind == byte_kind::blank) && end < bytes.size() &&
               kind_of(bytes[end]) == kind) {
            end++;
        }
        words.starts.push_back(end);
        at = end;
    }
    return words;
}

struct word_writer {
    output_writer &out;
    const diff_view &view;
    bool at_line_start = true;
};

void write_text(word_writer &w, std::string_view text) {
    if (!text.empty()) {
        w.at_line_start = text.back() == '\n';
        if (w.view.escape) {
            // escape_text keeps a newline at the end of a line only.
            const text_lines lines = split_lines(text);
            for (std::int32_t i = 0; i < lines.count(); i++) {
                w.out.write(escape_text(lines.line(i)));
            }
        } else {
            w.out.write(text);
        }
    }
}

// A mark never spans a line's end: every line of the text gets its own.
void write_marked(word_writer &w, std::string_view text, const char *open, const char *close,
                  const char *color) {
    const text_lines lines = split_lines(text);
    for (std::int32_t i = 0; i < lines.count(); i++) {
        std::string_view line = lines.line(i);
        const bool ended = !lacks_last_newline(line);
        line.remove_suffix(ended ? 1 : 0);
        w.out.write(w.view.color ? color : "");
        w.out.write(open);
        write_text(w, line);
        w.out.write(close);
        w.out.write(w.view.color ? plain : "");
        w.at_line_start = ended;
        if (ended) {
            w.out.put('\n');
        }
    }
}

void write_edit(word_writer &w, const file_difference &d, const edit &e) {
    const text_lines old_words = split_words(d.base.lines.range(e.base_first, e.base_end));
    const text_lines new_words = split_words(d.file.lines.range(e.file_first, e.file_end));
    std::vector<line_run> runs;
    gap_matcher matcher(old_words, new_words, line_equality::exact);
    matcher.match({0, old_words.count(), 0, new_words.count()}, &runs);
    runs.push_back({old_words.count(), new_words.count(), 0});
    std::int32_t old_at = 0;
    std::int32_t new_at = 0;
    for (const line_run &run : runs) {
        write_marked(w, old_words.range(old_at, run.base_first), "[-", "-]", "\x1b[31m");
        write_marked(w, new_words.range(new_at, run.file_first), "{+", "+}", "\x1b[32m");
        old_at = run.base_first + run.count;
        new_at = run.file_first + run.count;
        write_text(w, new_words.range(run.file_first, new_at));
    }
    if (!w.at_line_start) {
        w.out.put('\n');
        w.at_line_start = true;
    }
}

void write_lines(word_writer &w, const text_lines &text, std::int32_t first, std::int32_t end) {
    write_text(w, text.range(first, end));
    if (!w.at_line_start) {
        w.out.put('\n');
        w.at_line_start = true;
    }
}

}  // namespace

void write_word_diff(output_writer &out, const diff_view &view, const file_difference &d) {
    word_writer w{out, view};
    const std::vector<edit> &edits = d.edits.edits;
    const text_lines &base = d.base.lines;
    out.printf("--- %s\n+++ %s\n", escape_name(d.base_label).c_str(),
               escape_name(d.file_label).c_str());
    std::int32_t shown = 0;
    for (std::size_t i = 0; i < edits.size(); i++) {
        const edit &e = edits[i];
        if (i == 0 || e.base_first - shown > view.context) {
            const std::int32_t before = std::min(view.context, e.base_first - shown);
            out.printf("%s@@ line %d @@%s\n", view.color ? "\x1b[36m" : "",
                       e.file_first - before + 1, view.color ? plain : "");
            shown = e.base_first - before;
        }
        write_lines(w, base, shown, e.base_first);
        write_edit(w, d, e);
        const std::int32_t next = i + 1 < edits.size() ? edits[i + 1].base_first : base.count();
        shown = e.base_end + std::min(view.context, next - e.base_end);
        write_lines(w, base, e.base_end, shown);
    }
}

}  // namespace norvik
