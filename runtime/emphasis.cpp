#include "emphasis.h"

#include <norviktdm/runtime.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace runtime {
namespace {

constexpr std::string_view marker_begin = "\001\001";
constexpr std::string_view emphasis_on = "\001\0011B", emphasis_off = "\001\0010B";
constexpr std::string_view bold_on = "\033[1m", bold_off = "\033[0m";
// A rendered text is never longer than the text itself.
static_assert(bold_on.size() <= emphasis_on.size() && bold_off.size() <= emphasis_off.size());

bool shows_bold(FILE *stream) {
    const char *no_color = std::getenv("NO_COLOR");
    return (no_color == nullptr || *no_color == '\0') && isatty(fileno(stream)) != 0;
}

void render(std::string_view text, bool bold, char *out) {
    while (!text.empty()) {
        const bool on = text.starts_with(emphasis_on);
        if (!on && !text.starts_with(emphasis_off)) {
            *out++ = text.front();
            text.remove_prefix(1);
            continue;
        }
        if (bold) {
            out += (on ? bold_on : bold_off).copy(out, bold_on.size());
        }
        text.remove_prefix(on ? emphasis_on.size() : emphasis_off.size());
    }
    *out = '\0';
}

}  // namespace

rendered_text::rendered_text(const char *text, FILE *stream) : shown_(text) {
    const std::string_view whole = text;
    if (whole.find(marker_begin) == std::string_view::npos) {
        return;
    }
    copy_ = static_cast<char *>(mem_malloc(whole.size() + 1));
    // Without memory the text is shown with its markers rather than not at all.
    if (copy_ != nullptr) {
        render(whole, shows_bold(stream), copy_);
        shown_ = copy_;
    }
}

rendered_text::~rendered_text() {
    mem_free(copy_);
}

}  // namespace runtime
