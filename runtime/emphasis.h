// Emphasis markers in texts: the bytes 01 01 '1' 'B' switch emphasis on, 01 01 '0' 'B' off.
#pragma once

#include <cstddef>
#include <cstdio>

namespace runtime {

/// A copy of a text for one stream, its markers made bold on a terminal (unless NO_COLOR asks for
/// plain text) and dropped elsewhere. A text without markers is not copied.
class rendered_text {
public:
    rendered_text(const char *text, FILE *stream);
    ~rendered_text();
    rendered_text(const rendered_text &) = delete;
    rendered_text &operator=(const rendered_text &) = delete;

    const char *c_str() const { return shown_; }

private:
    const char *shown_;
    char *copy_ = nullptr;  // owned
};

}  // namespace runtime
