#include "stored_line.h"

#include "text_line.h"

namespace norvik {

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

failure refuse_line(const std::string &name, std::uint64_t number, std::string_view line) {
    failure why = refusal(name, "is no line of text: " + why_not_stored(line));
    why.line = number;
    return why;
}

}  // namespace norvik
