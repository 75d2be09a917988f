// Both lines are cut where a container would cut them (line_pieces.h) and compared by their pieces,
// so that several changes in a line of megabytes are found and shown each.
#include "line_excerpt.h"

#include "line_pieces.h"
#include "text_compare.h"
#include "text_ends.h"

namespace norvik {

namespace {

constexpr std::size_t most_changed = 200;  // bytes of one place
constexpr std::size_t most_places = 10;

text_lines pieces_of(std::string_view line) {
    text_lines pieces;
    pieces.bytes = line;
    for (std::size_t at = 0; at < line.size();) {
        at += format::first_piece(line.substr(at));
        pieces.starts.push_back(at);
    }
    return pieces;
}

// The offset, or one before it at which no character of several bytes is cut in two.
std::size_t character_start(std::string_view line, std::size_t at) {
    const std::size_t least = at < 3 ? 0 : at - 3;
    for (std::size_t i = at; i < line.size() && i > least; i--) {
        if ((static_cast<unsigned char>(line[i]) & 0xc0) != 0x80) {
            return i;
        }
    }
    return at;
}

class excerpt_writer {
public:
    excerpt_writer(std::string_view line, std::size_t around) : line_(line), around_(around) {}

    // Shows bytes first .. end - 1 and what is around them. Places come in order.
    void add(std::size_t first, std::size_t end) {
        show(first < around_ ? 0 : first - around_,
             end - first > most_changed ? first + most_changed / 2 : end);
        if (end - first > most_changed) {
            show(end - most_changed / 2, end);
        }
        show(end, std::min(line_.size(), end + around_));
    }

    std::string finish() {
        if (shown_ < line_.size()) {
            text_ += "...";
        }
        return std::move(text_);
    }

private:
    void show(std::size_t first, std::size_t end) {
        first = std::max(shown_, character_start(line_, first));
        end = character_start(line_, end);
        if (first >= end) {
            return;
        }
        text_ += first > shown_ ? "..." : "";
        text_ += line_.substr(first, end - first);
        shown_ = end;
    }

    std::string_view line_;
    std::size_t around_;
    std::string text_;
    std::size_t shown_ = 0;  // up to where the line is shown, or left out
};

}  // namespace

bool is_shown_in_excerpts(std::string_view line) {
    return format::is_row(line.size());
}

line_excerpts excerpts_of(std::string_view before, std::string_view after, std::size_t around) {
    const text_lines base = pieces_of(before);
    const text_lines file = pieces_of(after);
    excerpt_writer left(before, around);
    excerpt_writer right(after, around);
    std::size_t places = 0;
    for (const edit &e : compare_lines(base, file, {}).edits) {
        const std::string_view old = base.range(e.base_first, e.base_end);
        const std::string_view fresh = file.range(e.file_first, e.file_end);
        const std::size_t head = common_beginning(old, fresh);
        const std::size_t tail = common_ending(old.substr(head), fresh.substr(head));
        const auto show = [&](excerpt_writer *out, std::size_t start, std::size_t size) {
            out->add(start + head, start + size - tail);
        };
        show(&left, base.starts[static_cast<std::size_t>(e.base_first)], old.size());
        show(&right, file.starts[static_cast<std::size_t>(e.file_first)], fresh.size());
        if (++places == most_places) {
            break;
        }
    }
    if (places == 0) {
        left.add(0, std::min(before.size(), around));
        right.add(0, std::min(after.size(), around));
    }
    return {left.finish(), right.finish()};
}

}  // namespace norvik
