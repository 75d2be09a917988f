#include "lined_text.h"

namespace norvik {

result<> read_lines(lined_text *text) {
    if (!text->lines.bytes.empty()) {
        return {};
    }
    if (const std::error_code error = text->bytes.load(text->input.get()); error) {
        return system_failure(text->name, "cannot read", error);
    }
    text->lines = split_lines(text->bytes.view());
    return {};
}

}  // namespace norvik
