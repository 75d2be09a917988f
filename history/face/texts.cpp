// A text is looked through before the library has it, which would refuse it without saying where.
// One pass over its bytes.
#include "texts.h"

#include "text_line.h"

namespace norvik::face {

namespace {

constexpr std::uint64_t most_lines = INT32_MAX - 1;

}  // namespace

norvik_error *refuse_no_text(norvik_text text, std::string_view name, bool stored) {
    if (text.bytes == nullptr && text.size != 0) {
        return make_error(norvik_kind_refused, name, "has a size and no bytes");
    }
    std::uint64_t line = 0;
    for (std::string_view rest = view_of(text); !rest.empty();) {
        line++;
        const std::string_view here = rest.substr(0, rest.find('\n'));
        const std::size_t nul = here.find('\0');
        std::string reason;
        if (nul != std::string_view::npos) {
            reason = "byte " + std::to_string(nul + 1) + " is NUL, which no text holds";
        } else if (here.size() > format::longest_line) {
            reason = "has " + std::to_string(here.size()) + " bytes, the longest line may have " +
                     std::to_string(format::longest_line);
        } else if (stored && !format::can_be_read_back(rest.substr(0, here.size() + 1))) {
            reason = "has " + std::to_string(here.size()) +
                     " bytes and begins with '^', which takes three more";
        } else if (line > most_lines) {
            reason = "is one line too many";
        }
        if (!reason.empty()) {
            failure why = refusal(name, reason);
            why.line = line;
            return make_error(why);
        }
        rest.remove_prefix(std::min(here.size() + 1, rest.size()));
    }
    return nullptr;
}

norvik_error *hold(norvik_text text, std::string_view name, lined_text *out) {
    if (norvik_error *error = refuse_no_text(text, name); error != nullptr) {
        return error;
    }
    result<> done = hold_text(std::string(name), view_of(text), out);
    if (done) {
        done = read_lines(out);
    }
    return done ? nullptr : make_error(done.failure());
}

void close_files(std::vector<lined_text> *files) {
    for (lined_text &file : *files) {
        file.shown = {};
        file.path = {};
        file.input = {};
    }
}

}  // namespace norvik::face
