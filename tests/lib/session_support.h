// Texts compared through a session, for the tests of the engine, the stream and the merge.
#pragma once

#include <algorithm>
#include <random>
#include <vector>

#include "support.h"
#include "tdm_session/session.h"

namespace test {

using texts = std::vector<std::string>;

/// A session that is destroyed at the end; null when it could not be made.
class session {
public:
    explicit session(const std::vector<std::string> &paths) {
        std::vector<const char *> names;
        for (const std::string &path : paths) {
            names.push_back(path.c_str());
        }
        status = tdm_create_session(static_cast<int>(names.size()), names.data(), &s);
    }
    session(const session &) = delete;
    session &operator=(const session &) = delete;
    ~session() { tdm_destroy_session(s); }

    int compare() { return tdm_compare(s, &identical); }

    tdm_session *s = nullptr;
    int status = -1;
    int identical = -1;
};

class session_test : public scratch {
protected:
    std::vector<std::string> write_all(const texts &all) const {
        std::vector<std::string> paths;
        for (const std::string &text : all) {
            paths.push_back(write("file" + std::to_string(paths.size()), text));
        }
        return paths;
    }
};

/// The lines of a text, each with its newline.
inline std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    for (size_t at = 0, end = 0; at < text.size(); at = end) {
        end = std::min(text.find('\n', at), text.size() - 1) + 1;
        lines.push_back(text.substr(at, end - at));
    }
    return lines;
}

/// One line a letter.
inline std::string letters(std::string_view each) {
    std::string text;
    for (const char c : each) {
        text += std::string{c} + '\n';
    }
    return text;
}

inline std::string join(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines) {
        text += line;
    }
    return text;
}

/// Random edits of a text: lines deleted, inserted, changed, moved and doubled, some often
/// repeated, sometimes without a last newline.
inline std::string edit(std::string text, std::mt19937 *random) {
    const auto below = [random](size_t n) { return n == 0 ? 0 : (*random)() % n; };
    std::vector<std::string> lines = lines_of(text);
    for (size_t edits = below(6); edits > 0; --edits) {
        const auto at = lines.begin() + static_cast<std::ptrdiff_t>(below(lines.size() + 1));
        const auto count =
            std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(below(9)), lines.end() - at);
        std::vector<std::string> taken(at, at + count);
        const size_t what = below(4);
        const auto place = what == 3 ? at : lines.erase(at, at + count);
        if (what == 1) {
            for (std::string &line : taken) {
                line = std::to_string(below(20)) + "\n";
            }
            lines.insert(place, taken.begin(), taken.end());
        } else if (what >= 2) {
            const auto to = static_cast<std::ptrdiff_t>(below(lines.size() + 1));
            lines.insert(lines.begin() + to, taken.begin(), taken.end());
        }
    }
    text = join(lines);
    if (!text.empty() && below(8) == 0) {
        text.pop_back();
    }
    return text;
}

/// A text of `count` lines, a third of them often repeated.
inline std::string random_text(size_t count, std::mt19937 *random) {
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text +=
            (*random)() % 3 == 0 ? std::to_string((*random)() % 5) : "line " + std::to_string(i);
        text += '\n';
    }
    return text;
}

}  // namespace test
