// Texts compared through a session, for the tests of the engine, the stream and the merge.
#pragma once

#include <vector>

#include "small_texts.h"
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

/// One line a letter.
inline std::string letters(std::string_view each) {
    std::string text;
    for (const char c : each) {
        text += std::string{c} + '\n';
    }
    return text;
}

}  // namespace test
