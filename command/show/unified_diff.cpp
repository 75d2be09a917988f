// Edits with no more than twice the context between them share a hunk. The moved runs are kept in
// both orders and followed by a place in each that only goes forward, so that all is linear but for
// one sort of the runs.
#include "unified_diff.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>

#include "escaped_text.h"
#include "line_excerpt.h"

namespace norvik {

namespace {

enum line_kind : std::size_t { kind_context, kind_old, kind_new, kind_old_moved, kind_new_moved };

struct line_style {
    char mark;
    const char *color;
};

constexpr std::array<line_style, 5> styles{{
    {' ', ""},
    {'-', "\x1b[31m"},
    {'+', "\x1b[32m"},
    {'-', "\x1b[35m"},
    {'+', "\x1b[36m"},
}};
constexpr const char *bold = "\x1b[1m";
constexpr const char *cyan = "\x1b[36m";
constexpr const char *plain = "\x1b[m";

struct hunk_writer {
    output_writer &out;
    const unified_options &options;
    const text_lines &a;
    const text_lines &b;
    std::vector<line_run> by_base;
    std::vector<line_run> by_file;
    std::size_t next_base = 0;  // first run of by_base that may still lie ahead; next_file likewise
    std::size_t next_file = 0;
};

std::string_view without_newline(std::string_view line) {
    return line.substr(0, line.size() - (line.ends_with('\n') ? 1 : 0));
}

// What a terminal shows of a line; `other` is the one that it takes the place of, or that takes its
// own.
std::string shown_line(line_kind kind, std::string_view line, std::string_view other) {
    other = without_newline(other);
    if (!is_shown_in_excerpts(line) && !is_shown_in_excerpts(other)) {
        return escape_text(line);
    }
    const bool is_new = kind == kind_new || kind == kind_new_moved;
    constexpr std::size_t around = 40;
    const line_excerpts excerpts =
        is_new ? excerpts_of(other, line, around) : excerpts_of(line, other, around);
    return escape_text(is_new ? excerpts.after : excerpts.before);
}

void write_line(hunk_writer &w, line_kind kind, std::string_view line, std::string_view other) {
    const line_style &style = styles[kind];
    const bool color = w.options.color && kind != kind_context;
    const bool complete = !lacks_last_newline(line);
    if (complete) {
        line.remove_suffix(1);
    }
    if (color) {
        w.out.write(style.color);
    }
    w.out.put(style.mark);
    if (w.options.escape) {
        w.out.write(shown_line(kind, line, other));
    } else {
        w.out.write(line);
    }
    if (color) {
        w.out.write(plain);
    }
    w.out.put('\n');
    if (!complete) {
        w.out.write("\\ No newline at end of file\n");
    }
}

void write_lines(hunk_writer &w, line_kind kind, const text_lines &text, std::int32_t first,
                 std::int32_t end) {
    for (std::int32_t i = first; i < end; i++) {
        write_line(w, kind, text.line(i), text.line(i));
    }
}

// The moved runs are sorted and the hunks are written in order, so that each side keeps its place.
bool in_moved_run(const std::vector<line_run> &runs, std::size_t *next,
                  std::int32_t line_run::*first, std::int32_t line) {
    while (*next < runs.size() && runs[*next].*first + runs[*next].count <= line) {
        (*next)++;
    }
    return *next < runs.size() && runs[*next].*first <= line;
}

// Line `i` of the text before `end`; empty when it is none.
std::string_view line_before(const text_lines &text, std::int32_t i, std::int32_t end) {
    return i < end ? text.line(i) : std::string_view();
}

void write_edit(hunk_writer &w, const edit &e) {
    const std::int32_t apart = e.file_first - e.base_first;
    for (std::int32_t i = e.base_first; i < e.base_end; i++) {
        const bool moved = in_moved_run(w.by_base, &w.next_base, &line_run::base_first, i);
        write_line(w, moved ? kind_old_moved : kind_old, w.a.line(i),
                   line_before(w.b, i + apart, e.file_end));
    }
    for (std::int32_t i = e.file_first; i < e.file_end; i++) {
        const bool moved = in_moved_run(w.by_file, &w.next_file, &line_run::file_first, i);
        write_line(w, moved ? kind_new_moved : kind_new, w.b.line(i),
                   line_before(w.a, i - apart, e.base_end));
    }
}

std::string line_range(std::int32_t first, std::int32_t count) {
    const std::string from = std::to_string(first + 1);
    return count == 1 ? from : from + "-" + std::to_string(first + count);
}

// ", N" is left out for one line; an empty range names the line before it.
void add_range(std::string &heading, std::int32_t first, std::int32_t count) {
    heading += std::to_string(count == 0 ? first : first + 1);
    if (count != 1) {
        heading += ',';
        heading += std::to_string(count);
    }
}

// What a hunk's heading says of the moved lines of both sides. Each list is searched from the place
// that the hunk before has left.
std::string move_notes(const hunk_writer &w, const edit &hunk) {
    std::string notes;
    const auto add = [&notes](std::span<const line_run> runs, std::int32_t line_run::*here,
                              std::int32_t line_run::*there, std::int32_t first, std::int32_t end,
                              const char *moved) {
        for (const line_run &run : runs) {
            if (run.*here >= end) {
                break;
            }
            if (run.*here >= first) {
                notes += (notes.empty() ? " " : "; ") + line_range(run.*here, run.count) + moved +
                         line_range(run.*there, run.count);
            }
        }
    };
    const std::span<const line_run> base_runs(w.by_base);
    const std::span<const line_run> file_runs(w.by_file);
    add(base_runs.subspan(w.next_base), &line_run::base_first, &line_run::file_first,
        hunk.base_first, hunk.base_end, " moved to ");
    add(file_runs.subspan(w.next_file), &line_run::file_first, &line_run::base_first,
        hunk.file_first, hunk.file_end, " moved from ");
    return notes;
}

void write_hunk(hunk_writer &w, std::span<const edit> edits) {
    const edit &front = edits.front();
    const edit &back = edits.back();
    const std::int32_t before = std::min(w.options.context, front.base_first);
    const std::int32_t after = std::min(w.options.context, w.a.count() - back.base_end);
    const edit hunk{front.base_first - before, back.base_end + after, front.file_first - before,
                    back.file_end + after};
    std::string heading = "@@ -";
    add_range(heading, hunk.base_first, hunk.base_end - hunk.base_first);
    heading += " +";
    add_range(heading, hunk.file_first, hunk.file_end - hunk.file_first);
    heading += " @@";
    const std::string notes = move_notes(w, hunk);
    w.out.write(w.options.color ? cyan + heading + plain : heading);
    w.out.write(notes);
    w.out.put('\n');
    std::int32_t shown = hunk.base_first;
    for (const edit &e : edits) {
        write_lines(w, kind_context, w.a, shown, e.base_first);
        write_edit(w, e);
        shown = e.base_end;
    }
    write_lines(w, kind_context, w.a, shown, hunk.base_end);
}

}  // namespace

std::string patch_name(std::string_view name) {
    const auto special = [](char c) {
        return static_cast<unsigned char>(c) < ' ' || c == '"' || c == '\\' || c == '\x7f';
    };
    if (std::none_of(name.begin(), name.end(), special)) {
        const bool blank = name.find(' ') != std::string_view::npos;
        return std::string(name) + (blank ? "\t" : "");
    }
    std::string quoted = "\"";
    for (const char c : name) {
        if (!special(c)) {
            quoted += c;
        } else if (c == '"' || c == '\\') {
            quoted += {'\\', c};
        } else {
            char escape[5];
            std::snprintf(escape, sizeof escape, "\\%03o", static_cast<unsigned>(c));
            quoted += escape;
        }
    }
    return quoted + "\"";
}

void write_unified_header(output_writer &out, const unified_options &options,
                          std::string_view old_name, std::string_view new_name) {
    const char *on = options.color ? bold : "";
    const char *off = options.color ? plain : "";
    // What patch_name leaves alone may still steer a terminal: it is not ASCII.
    const auto shown = [&options](std::string_view name) {
        return options.escape ? escape_text(patch_name(name)) : patch_name(name);
    };
    out.printf("%s--- %s%s\n", on, shown(old_name).c_str(), off);
    out.printf("%s+++ %s%s\n", on, shown(new_name).c_str(), off);
}

void write_unified(output_writer &out, const unified_options &options, const text_lines &a,
                   const text_lines &b, const file_edits &edits) {
    hunk_writer w{out, options, a, b, {}, {}};
    if (options.mark_moves) {
        w.by_base = edits.moves;
        w.by_file = edits.moves;
        std::sort(w.by_file.begin(), w.by_file.end(),
                  [](const line_run &x, const line_run &y) { return x.file_first < y.file_first; });
    }
    const std::span<const edit> all = edits.edits;
    for (std::size_t from = 0; from < all.size();) {
        std::size_t to = from + 1;
        while (to < all.size() &&
               all[to].base_first - all[to - 1].base_end <= 2 * std::int64_t{options.context}) {
            to++;
        }
        write_hunk(w, all.subspan(from, to - from));
        from = to;
    }
}

}  // namespace norvik
