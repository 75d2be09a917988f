// The expressions are the system's (regcomp). O(lines) a range.
#include "line_ranges.h"

#include <regex.h>

#include <algorithm>
#include <charconv>

namespace norvik {

namespace {

class expression {
public:
    explicit expression(const std::string &text)
        : error_(regcomp(&compiled_, text.c_str(), REG_EXTENDED | REG_NOSUB)) {}
    ~expression() {
        if (error_ == 0) {
            regfree(&compiled_);
        }
    }
    expression(const expression &) = delete;
    expression &operator=(const expression &) = delete;

    bool matches(std::string_view line) const {
        const std::size_t size = line.size() - (line.ends_with('\n') ? 1 : 0);
        regmatch_t part[1];
        part[0].rm_so = 0;
        part[0].rm_eo = static_cast<regoff_t>(size);
        return regexec(&compiled_, line.data(), 1, part, REG_STARTEND) == 0;
    }
    std::string wrong() const {
        char text[256] = "";
        if (error_ != 0) {
            regerror(error_, &compiled_, text, sizeof text);
        }
        return text;
    }

private:
    regex_t compiled_{};
    int error_;
};

// One end of a range: takes its text off the front of `rest`; false for none of the forms.
struct range_end {
    char sign = '\0';  // '+' or '-' before a number
    std::size_t number = 0;
    std::string regex;
    bool has_regex = false;

    bool take(std::string_view &rest) {
        if (rest.starts_with('/')) {
            std::size_t at = 1;
            for (; at < rest.size() && rest[at] != '/'; at++) {
                at += rest.substr(at).starts_with("\\/") ? 1 : 0;
                regex += rest.substr(at, 1);
            }
            has_regex = true;
            rest.remove_prefix(std::min(at + 1, rest.size()));
            return !regex.empty();
        }
        if (rest.starts_with('+') || rest.starts_with('-')) {
            sign = rest[0];
            rest.remove_prefix(1);
        }
        const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
        rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
        return error == std::errc{} && number > 0;
    }
};

class range_finder {
public:
    range_finder(const std::vector<std::string_view> &lines, const std::string &name)
        : lines_(lines), name_(name) {}

    result<line_range> find(std::string_view text) {
        std::string_view rest = text;
        range_end from, to;
        bool good = from.take(rest) && from.sign == '\0';
        const bool open = rest.empty() || rest == ",";
        good = good &&
               (open || (rest[0] == ',' && (rest.remove_prefix(1), to.take(rest)) && rest.empty()));
        if (!good) {
            return refusal(name_, "'" + std::string(text) +
                                      "' is no range of lines: give FROM,TO as numbers, /REGEX/, "
                                      "or +N behind the comma");
        }
        line_range range{from.number, lines_.size()};
        if (from.has_regex) {
            const auto found = search(from.regex, behind_);
            if (!found) {
                return found.failure();
            }
            range.first = *found;
        }
        if (!open) {
            if (auto ended = end_range(to, &range); !ended) {
                return ended.failure();
            }
        }
        if (range.first > lines_.size()) {
            return refusal(name_, "has only " + std::to_string(lines_.size()) + " lines");
        }
        range.last = std::min(range.last, lines_.size());
        behind_ = range.last;
        return range;
    }

private:
    // The number of the first line behind line `after` that matches.
    result<std::size_t> search(const std::string &regex, std::size_t after) const {
        const expression wanted(regex);
        if (const std::string wrong = wanted.wrong(); !wrong.empty()) {
            return refusal(name_, "'" + regex + "' is no regular expression: " + wrong);
        }
        for (std::size_t i = after; i < lines_.size(); i++) {
            if (wanted.matches(lines_[i])) {
                return i + 1;
            }
        }
        return refusal(name_,
                       "no line behind line " + std::to_string(after) + " matches /" + regex + "/");
    }

    result<> end_range(const range_end &to, line_range *range) const {
        if (to.has_regex) {
            const auto found = search(to.regex, range->first);
            if (!found) {
                return found.failure();
            }
            range->last = *found;
        } else if (to.sign == '-') {
            range->last = range->first;
            range->first -= std::min(to.number, range->first) - 1;
        } else {
            const std::size_t most = lines_.size();
            range->last =
                to.sign == '\0' ? to.number : range->first + std::min(to.number - 1, most);
            if (range->last < range->first) {
                std::swap(range->first, range->last);
            }
        }
        return {};
    }

    const std::vector<std::string_view> &lines_;
    const std::string &name_;
    std::size_t behind_ = 0;  // the last line of the range before
};

}  // namespace

result<std::vector<line_range>> find_line_ranges(const std::vector<std::string_view> &lines,
                                                 const std::vector<std::string> &asked,
                                                 const std::string &name) {
    range_finder finder(lines, name);
    std::vector<line_range> found;
    for (const std::string &text : asked) {
        auto range = finder.find(text);
        if (!range) {
            return range.failure();
        }
        found.push_back(*range);
    }
    std::sort(found.begin(), found.end(),
              [](line_range a, line_range b) { return a.first < b.first; });
    std::vector<line_range> joined;
    for (const line_range range : found) {
        if (!joined.empty() && range.first <= joined.back().last) {
            joined.back().last = std::max(joined.back().last, range.last);
        } else {
            joined.push_back(range);
        }
    }
    return joined;
}

}  // namespace norvik
