// Comparison of lines that leaves white space out of account.
#include <norviktdm/runtime.h>

#include <cctype>

namespace {

unsigned char byte_at(const char *text) {
    return static_cast<unsigned char>(*text);
}

const char *skip_white_space(const char *text) {
    while (std::isspace(byte_at(text)) != 0) {
        ++text;
    }
    return text;
}

}  // namespace

int str_cmp_ignore_whitespace(const char *a, const char *b) {
    for (;;) {
        // Equal bytes need no classification: white space or not, both sides step over them.
        while (*a == *b && *a != '\0') {
            ++a;
            ++b;
        }
        const char *counted_a = skip_white_space(a);
        const char *counted_b = skip_white_space(b);
        if (counted_a == a && counted_b == b) {
            return byte_at(a) - byte_at(b);
        }
        a = counted_a;
        b = counted_b;
    }
}
