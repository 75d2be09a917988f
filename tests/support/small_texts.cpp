#include "small_texts.h"

#include <algorithm>
#include <sstream>

std::string lines_of(std::string_view words) {
    std::istringstream in{std::string(words)};
    std::string text;
    for (std::string word; in >> word;) {
        text += word == "_" ? "\n" : word + "\n";
    }
    if (text.ends_with("$\n")) {
        text.resize(text.size() - 2);
    }
    return text;
}

std::vector<std::string> split_lines(std::string_view text) {
    std::vector<std::string> lines;
    for (size_t at = 0, end = 0; at < text.size(); at = end) {
        end = std::min(text.find('\n', at), text.size() - 1) + 1;
        lines.emplace_back(text.substr(at, end - at));
    }
    return lines;
}

std::string text_maker::line() {
    static constexpr const char *common[] = {"\n", "}\n", "    break;\n", "    return x;\n",
                                             "a b\n"};
    static constexpr const char *records[] = {"^", "^N ", "^I 0 1 ", "^Q ^"};
    if (chance(repeated)) {
        return common[below(std::size(common))];
    }
    const char *const start =
        quoted > 0 && chance(quoted) ? records[below(std::size(records))] : "line ";
    return start + std::to_string(random()) + "\n";
}

std::vector<std::string> text_maker::text(size_t lines) {
    std::vector<std::string> out(lines);
    std::generate(out.begin(), out.end(), [this] { return line(); });
    return out;
}

std::vector<std::string> text_maker::changed(const std::vector<std::string> &lines) {
    std::vector<std::string> out = lines;
    for (size_t edits = below(5); edits > 0; edits--) {
        const size_t from = below(out.size() + 1);
        const size_t count = std::min(1 + below(6), out.size() - from);
        const auto first = out.begin() + static_cast<long>(from);
        const auto last = first + static_cast<long>(count);
        const std::vector<std::string> taken(first, last);
        switch (below(doubles ? 5 : 4)) {
            case 0: {
                const std::vector<std::string> fresh = text(1 + below(4));
                out.insert(first, fresh.begin(), fresh.end());
                break;
            }
            case 1:
                out.erase(first, last);
                break;
            case 2:
                std::generate(first, last, [this] { return line(); });
                break;
            case 3:
                out.erase(first, last);
                [[fallthrough]];
            default:
                out.insert(out.begin() + static_cast<long>(below(out.size() + 1)), taken.begin(),
                           taken.end());
        }
    }
    return out;
}

std::string text_maker::changed(const std::string &text) {
    std::vector<std::string> lines = split_lines(text);
    if (!lines.empty() && lines.back().back() != '\n') {
        lines.back() += '\n';
    }
    return joined(changed(lines), chance(0.2));
}

std::string joined(const std::vector<std::string> &lines, bool open_end) {
    std::string text;
    for (const std::string &line : lines) {
        text += line;
    }
    if (open_end && text.size() > 1 && text[text.size() - 2] != '\n') {
        text.pop_back();
    }
    return text;
}
