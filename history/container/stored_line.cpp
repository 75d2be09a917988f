// A text without long lines costs one look back from every 8001st byte; one with them 8 bytes a
// stored line, and a pass over their bytes.
#include "stored_line.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "line_pieces.h"

namespace norvik {

namespace {

// The line of the text that begins at `at`, with its newline.
std::string_view line_from(std::string_view text, std::size_t at) {
    const std::size_t newline = text.find('\n', at);
    return text.substr(at, newline == std::string_view::npos ? newline : newline + 1 - at);
}

bool is_long(std::string_view line) {
    return format::is_row(line.size() - (line.ends_with('\n') ? 1 : 0));
}

}  // namespace

bool has_long_line(std::string_view text) {
    for (std::size_t at = 0; text.size() - at > format::longest_line;) {
        const void *last = memrchr(text.data() + at, '\n', format::longest_line + 1);
        if (last == nullptr) {
            return true;
        }
        at = static_cast<std::size_t>(static_cast<const char *>(last) - text.data()) + 1;
    }
    return false;
}

stored_text split_stored(std::string_view text) {
    if (!has_long_line(text)) {
        return {text, std::nullopt};
    }
    text_lines lines;
    lines.bytes = text;
    for (std::size_t at = 0; at < text.size();) {
        const std::string_view line = line_from(text, at);
        const bool row = is_long(line);
        for (std::string_view rest = line; !rest.empty();) {
            const std::size_t size = row ? format::first_piece(rest) : rest.size();
            rest.remove_prefix(size);
            lines.starts.push_back(at += size);
        }
    }
    return {text, std::move(lines)};
}

stored_text stored_with(std::string_view text, const std::vector<std::size_t> &open) {
    // A line without newline that ends the text is no piece.
    if (open.empty() || (open.size() == 1 && open.front() == text.size())) {
        return {text, std::nullopt};
    }
    const text_lines whole = split_lines(text);
    text_lines lines;
    lines.bytes = text;
    lines.starts.clear();
    std::set_union(whole.starts.begin(), whole.starts.end(), open.begin(), open.end(),
                   std::back_inserter(lines.starts));
    return {text, std::move(lines)};
}

bool can_be_stored(std::string_view line) {
    return format::can_be_read_back(line) && line.find('\0') == std::string_view::npos;
}

std::string why_not_stored(std::string_view line) {
    const std::size_t nul = line.find('\0');
    const bool quoted = format::prefix_of_text(line) == format::quoted_prefix;
    const std::size_t size = line.size() - (line.ends_with('\n') ? 1 : 0);
    if (nul != std::string_view::npos) {
        return "byte " + std::to_string(nul + 1) + " is NUL, which no text holds; encode the file";
    }
    if (quoted && size <= format::longest_line) {
        return "has " + std::to_string(size) + " bytes, one that begins with '^' may have " +
               std::to_string(format::longest_line - format::record_prefix) + "; divide it";
    }
    return "has " + std::to_string(size) + " bytes, the longest line may have " +
           std::to_string(format::longest_line) + "; divide it";
}

failure refuse_line(const std::string &name, std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, offset);
    const std::size_t newline = before.rfind('\n');
    const std::size_t start = newline == std::string_view::npos ? 0 : newline + 1;
    failure why = refusal(name, "is no line of text: " + why_not_stored(line_from(text, start)));
    why.line = static_cast<std::uint64_t>(std::count(before.begin(), before.end(), '\n')) + 1;
    return why;
}

}  // namespace norvik
