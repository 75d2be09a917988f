// An edit's lines stand beside each other in order, not by likeness; what is left of the longer
// side stands alone. Beside the texts it takes a bit for each line, whether it moved.
#include <algorithm>

#include "columns.h"
#include "diff_output.h"
#include "line_excerpt.h"

namespace norvik {

namespace {

constexpr const char *plain = "\x1b[m";

struct side_writer {
    output_writer &out;
    const diff_view &view;
    const file_difference &d;
    int column;  // width of each side
    std::vector<bool> base_moved, file_moved;
};

std::vector<bool> moved_flags(std::int32_t lines, const std::vector<line_run> &moves,
                              std::int32_t line_run::*first) {
    std::vector<bool> flags(static_cast<std::size_t>(lines));
    for (const line_run &run : moves) {
        for (std::int32_t i = 0; i < run.count; i++) {
            flags[static_cast<std::size_t>(run.*first + i)] = true;
        }
    }
    return flags;
}

void write_cell(const side_writer &w, const char *color, std::string_view line) {
    w.out.write(w.view.color ? color : "");
    w.out.write(fit_column(line, w.column));
    w.out.write(w.view.color && *color != '\0' ? plain : "");
}

std::string_view without_newline(std::string_view line) {
    return line.substr(0, line.size() - (line.ends_with('\n') ? 1 : 0));
}

// A negative line number leaves the side empty.
void write_row(const side_writer &w, std::int32_t base_line, std::int32_t file_line) {
    const bool left = base_line >= 0;
    const bool right = file_line >= 0;
    const bool moved = (left && w.base_moved[static_cast<std::size_t>(base_line)]) ||
                       (right && w.file_moved[static_cast<std::size_t>(file_line)]);
    const std::string_view old_text = left ? w.d.base.lines.line(base_line) : std::string_view();
    const std::string_view new_text = right ? w.d.file.lines.line(file_line) : std::string_view();
    line_excerpts shown;
    const std::string_view old_line = without_newline(old_text);
    const std::string_view new_line = without_newline(new_text);
    const bool in_excerpts = is_shown_in_excerpts(old_line) || is_shown_in_excerpts(new_line);
    if (in_excerpts) {
        shown = excerpts_of(old_line, new_line, static_cast<std::size_t>(w.column) / 4);
    }
    const char mark = left && right ? '|' : left ? '<' : '>';
    write_cell(w, moved ? "\x1b[35m" : "\x1b[31m", in_excerpts ? shown.before : old_text);
    w.out.put(moved ? 'm' : ' ');
    w.out.put(mark);
    w.out.put(' ');
    write_cell(w, moved ? "\x1b[36m" : "\x1b[32m", in_excerpts ? shown.after : new_text);
    w.out.put('\n');
    if (lacks_last_newline(old_text) != lacks_last_newline(new_text)) {
        w.out.printf("\\ No newline at end of the %s file\n",
                     lacks_last_newline(old_text) ? "left" : "right");
    }
}

void write_same(const side_writer &w, std::int32_t base_first, std::int32_t base_end,
                std::int32_t file_first) {
    for (std::int32_t i = 0; i < base_end - base_first; i++) {
        write_cell(w, "", w.d.base.lines.line(base_first + i));
        w.out.write("   ");
        write_cell(w, "", w.d.file.lines.line(file_first + i));
        w.out.put('\n');
    }
}

// The lines that are the same from `from` (both sides) up to the next edit or the end.
void write_between(const side_writer &w, const edit &from, std::int32_t base_end, bool first,
                   bool last) {
    const std::int32_t lines = base_end - from.base_end;
    const std::int32_t after = first ? 0 : w.view.context;
    const std::int32_t before = last ? 0 : w.view.context;
    if (w.view.whole || lines <= std::int64_t{after} + before) {
        write_same(w, from.base_end, base_end, from.file_end);
        return;
    }
    write_same(w, from.base_end, from.base_end + after, from.file_end);
    w.out.printf("... %d lines are the same\n", lines - after - before);
    write_same(w, base_end - before, base_end, from.file_end + lines - before);
}

}  // namespace

void write_side_by_side(output_writer &out, const diff_view &view, const file_difference &d) {
    const bool marks = view.mark_moves;
    const side_writer w{
        out,
        view,
        d,
        std::max(1, (view.width - 3) / 2),
        moved_flags(d.base.lines.count(), marks ? d.edits.moves : std::vector<line_run>{},
                    &line_run::base_first),
        moved_flags(d.file.lines.count(), marks ? d.edits.moves : std::vector<line_run>{},
                    &line_run::file_first)};
    const std::string heading =
        fit_column(d.base_label, w.column) + "   " + fit_column(d.file_label, w.column);
    out.write(view.color ? "\x1b[1m" + heading + plain : heading);
    out.put('\n');
    edit before;
    for (const edit &e : d.edits.edits) {
        write_between(w, before, e.base_first, &e == &d.edits.edits.front(), false);
        const std::int32_t removed = e.base_end - e.base_first;
        const std::int32_t inserted = e.file_end - e.file_first;
        for (std::int32_t i = 0; i < std::max(removed, inserted); i++) {
            write_row(w, i < removed ? e.base_first + i : -1, i < inserted ? e.file_first + i : -1);
        }
        before = e;
    }
    write_between(w, before, d.base.lines.count(), d.edits.edits.empty(), true);
}

}  // namespace norvik
