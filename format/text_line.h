// Text lines as a container stores them, and as a version has them.
#pragma once

#include <algorithm>
#include <string_view>

#include "container_limits.h"
#include "record_kind.h"

namespace format {

// How many bytes a stored line may have before its newline.
constexpr std::size_t longest_stored(std::string_view line) {
    return longest_line + (line.starts_with(unended_prefix) ? record_prefix : 0);
}

// What stands before a line, newline included where it has one, when it is stored; behind one that
// lacks its newline the container has one all the same.
constexpr std::string_view prefix_of_text(std::string_view text) {
    return text.empty()                  ? std::string_view()
           : text.back() != '\n'         ? unended_prefix
           : text.front() == record_mark ? quoted_prefix
                                         : std::string_view();
}

// Whether the line is one of text and can be read back once it is stored.
constexpr bool can_be_read_back(std::string_view text) {
    const std::string_view prefix = prefix_of_text(text);
    const std::size_t newline = !text.empty() && text.back() == '\n' ? 1 : 0;
    return text.size() - newline + (prefix == quoted_prefix ? record_prefix : 0) <= longest_line;
}

// The text of a stored line of a kind that holds text. An unended one loses the newline that it was
// given, unless that is to be kept.
constexpr std::string_view text_of(std::string_view line, bool keep_newline = false) {
    const char kind = kind_of(line);
    if (kind != kind_quoted && kind != kind_unended) {
        return line;
    }
    std::string_view text = line;
    text.remove_prefix(std::min(text.size(), record_prefix));
    if (kind == kind_unended && !keep_newline && !text.empty() && text.back() == '\n') {
        text.remove_suffix(1);
    }
    return text;
}

}  // namespace format
