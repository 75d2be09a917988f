// One walk along the stretches. Pieces that a line has lost stand between those that it has, or
// directly before its first one: a deletion stands before what is inserted in its place.
#include "joined_lines.h"

#include <algorithm>

namespace norvik {

namespace {

bool is_own(const annotated_stretch &stretch) {
    return stretch.tag == format::tag_own;
}

bool is_open(const annotated_stretch &stretch) {
    return stretch.marked && format::kind_of(stretch.bytes) == format::kind_unended;
}

bool is_lost_piece(const annotated_stretch &stretch) {
    return stretch.tag == format::tag_deleted && is_open(stretch);
}

bool has_rows(const std::vector<annotated_stretch> &stretches) {
    const auto last = std::find_if(stretches.rbegin(), stretches.rend(), is_own);
    return last != stretches.rend() &&
           std::any_of(std::next(last), stretches.rend(), [](const annotated_stretch &stretch) {
               return is_own(stretch) && is_open(stretch);
           });
}

class row_joiner {
public:
    row_joiner(const std::vector<annotated_stretch> &from, std::deque<std::string> *texts)
        : from_(from), texts_(*texts) {}

    std::vector<annotated_stretch> run() {
        for (std::size_t i = 0; i < from_.size();) {
            const std::size_t end = is_own(from_[i]) && is_open(from_[i]) ? end_of_row(i) : i;
            if (end == i) {
                add(from_[i++]);
            } else {
                add_row(i, end);
                i = end + 1;
            }
        }
        return std::move(joined_);
    }

private:
    void add(annotated_stretch stretch) {
        if (is_own(stretch)) {
            stretch.number = next_number_;
            next_number_ += stretch.lines;
        }
        joined_.push_back(stretch);
    }

    // The stretch that has the last piece of the row that begins with `first`; `first` for none.
    std::size_t end_of_row(std::size_t first) const {
        std::size_t last = first;
        for (std::size_t i = first + 1; i < from_.size(); i++) {
            if (is_own(from_[i])) {
                last = i;
                if (!is_open(from_[i])) {
                    break;
                }
            }
        }
        return last;
    }

    void add_row(std::size_t first, std::size_t last) {
        annotated_stretch row = from_[first];
        for (; !joined_.empty() && is_lost_piece(joined_.back()); joined_.pop_back()) {
            row.run = std::max(row.run, joined_.back().deleter);
        }
        const bool open = is_open(from_[last]);
        std::string &text =
            texts_.emplace_back(open ? format::unended_prefix : format::quoted_prefix);
        annotated_stretch rest;
        for (std::size_t i = first; i <= last; i++) {
            const annotated_stretch &part = from_[i];
            if (!is_own(part)) {
                if (part.tag == format::tag_deleted) {
                    row.run = std::max(row.run, part.deleter);
                } else {
                    joined_.push_back(part);
                }
                continue;
            }
            row.run = std::max(row.run, part.run);
            const std::string_view line =
                part.marked ? part.bytes : part.bytes.substr(0, part.bytes.find('\n') + 1);
            text += text_of(line);
            rest = part;
            rest.bytes.remove_prefix(line.size());
            rest.lines--;
        }
        text += open ? "\n" : "";
        row.marked = true;
        row.bytes = text;
        add(row);
        if (rest.lines > 0) {
            add(rest);
        }
    }

    const std::vector<annotated_stretch> &from_;
    std::deque<std::string> &texts_;
    std::vector<annotated_stretch> joined_;
    std::uint64_t next_number_ = 1;
};

}  // namespace

result<std::vector<annotated_stretch>> annotate_lines(const container_view &view,
                                                      version_id version, annotated_lines which,
                                                      std::deque<std::string> *texts) {
    auto stretches = annotate_version(view, version, which);
    if (!stretches || !has_rows(*stretches)) {
        return stretches;
    }
    if (which == annotated_lines::own) {
        stretches = annotate_version(view, version, annotated_lines::lineage);
        if (!stretches) {
            return stretches;
        }
    }
    std::vector<annotated_stretch> joined = row_joiner(*stretches, texts).run();
    if (which == annotated_lines::own) {
        std::erase_if(joined, [](const annotated_stretch &stretch) { return !is_own(stretch); });
    }
    return joined;
}

}  // namespace norvik
