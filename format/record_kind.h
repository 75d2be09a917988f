// What a line of a container is, by its first bytes.
//
//   ^S db1 2                    format, highest branch
//   ^V 7be1 1 4 65f0c1a2        version oid, branch, version, creation time
//   ^B a90c 1 0 2               branch oid, branch, parent branch, parent version
//   ^E 51d2                     element oid
//   ^I 1 4 3   and   ^D 1 4 3   branch, version, line count
//   ^Q ^text   and   ^N text    a line that begins with ^, a line without a final newline
//   ^#^V ...                    a record that is commented out
#pragma once

#include <cstddef>
#include <string_view>

namespace format {

// The byte that every record begins with, its kind the second one.
inline constexpr char record_mark = '^';

enum record_kind : char {
    kind_plain = 0,    // a text line without a mark
    kind_none = '\n',  // a mark, and no kind behind it
    kind_status = 'S',
    kind_version = 'V',
    kind_branch = 'B',
    kind_element = 'E',
    kind_insert = 'I',
    kind_delete = 'D',
    kind_quoted = 'Q',       // text that begins with the mark
    kind_unended = 'N',      // text without a final newline
    kind_marked_text = 'T',  // text as it stands, mark and kind included; never written
    kind_comment = '#',      // a whole record follows
};

// The mark, the kind and the blank before the first field or the text.
inline constexpr std::size_t record_prefix = 3;
inline constexpr std::string_view quoted_prefix = "^Q ";
inline constexpr std::string_view unended_prefix = "^N ";
// A whole record follows, its mark included.
inline constexpr std::string_view comment_prefix = "^#";

// The kind of a line, with or without its newline. A NUL must not look like the kind of plain text.
constexpr char kind_of(std::string_view line) {
    if (line.empty() || line[0] != record_mark) {
        return kind_plain;
    }
    return line.size() < 2 || line[1] == '\0' ? char{kind_none} : line[1];
}

// Whether the line is a record of that kind, whatever follows.
constexpr bool is_record(std::string_view line, char kind) {
    return line.size() >= 2 && line[0] == record_mark && line[1] == kind;
}

// Whether lines of the kind are text of a version.
constexpr bool holds_text(char kind) {
    return kind == kind_plain || kind == kind_quoted || kind == kind_unended ||
           kind == kind_marked_text;
}

// Whether records of the kind count lines: insertions and deletions.
constexpr bool counts_lines(char kind) {
    return kind == kind_insert || kind == kind_delete;
}

// The line without what comments it out, and whether there was something.
constexpr std::string_view without_comment(std::string_view line, bool *commented) {
    *commented = is_record(line, kind_comment);
    line.remove_prefix(*commented ? comment_prefix.size() : 0);
    return line;
}

}  // namespace format
