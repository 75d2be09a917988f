// One walk over the places in base order: the bytes of the result are copied once, those of a place
// twice.
#include "merge_text.h"

#include <algorithm>

namespace norvik {

namespace {

struct shown_lines {
    const text_lines *text;
    std::int32_t first;
    std::int32_t end;
};

shown_lines shown(const place_version &version) {
    return {version.text, version.first, version.end};
}

void add_lines(const shown_lines &lines, std::string *out) {
    *out += lines.text->range(lines.first, lines.end);
    if (lacks_last_newline(*out)) {
        *out += '\n';
    }
}

bool is_control_byte(char byte) {
    return static_cast<unsigned char>(byte) < ' ' || byte == '\x7f';
}

// A marker is one line.
std::string on_one_line(const std::string &label, const marker_options &options) {
    if (std::none_of(label.begin(), label.end(), is_control_byte)) {
        return label;
    }
    if (options.on_one_line != nullptr) {
        return options.on_one_line(label);
    }
    std::string spelled = label;
    std::replace_if(spelled.begin(), spelled.end(), is_control_byte, '?');
    return spelled;
}

void add_marker(char mark, const marker_options &options, const std::string &label,
                std::string *out) {
    out->append(static_cast<std::size_t>(options.size), mark);
    if (!label.empty()) {
        *out += ' ' + on_one_line(label, options);
    }
    *out += '\n';
}

std::string side_label(const std::vector<std::int32_t> &side, const marker_options &options) {
    std::string label;
    for (const std::int32_t k : side) {
        label += (label.empty() ? "" : ", ") + options.labels[static_cast<std::size_t>(k)];
    }
    return label;
}

enum class end_of_lines { front, back };

// Takes the lines that all sides have at that end off them; returns their number.
std::int32_t take_common(std::vector<shown_lines> *sides, end_of_lines at) {
    const bool at_front = at == end_of_lines::front;
    const auto line = [at_front](const shown_lines &side, std::int32_t i) {
        return side.text->line(at_front ? side.first + i : side.end - 1 - i);
    };
    const shown_lines &model = sides->front();
    std::int32_t count = model.end - model.first;
    for (const shown_lines &side : *sides) {
        std::int32_t same = 0;
        const std::int32_t most = std::min(count, side.end - side.first);
        while (same < most && line(side, same) == line(model, same)) {
            same++;
        }
        count = same;
    }
    for (shown_lines &side : *sides) {
        (at_front ? side.first : side.end) += at_front ? count : -count;
    }
    return count;
}

class text_builder {
public:
    explicit text_builder(merged_text *out) : out_(out) {}

    void add(std::string_view bytes, std::int32_t place) {
        if (bytes.empty()) {
            return;
        }
        // Only the first such place is named: the text is written again without it.
        if (lacks_last_newline(out_->text) && out_->unended_place < 0) {
            out_->unended_place = last_place_;
        }
        out_->text += bytes;
        last_place_ = place >= 0 ? place : last_place_;
    }

private:
    merged_text *out_;
    std::int32_t last_place_ = 0;
};

}  // namespace

std::vector<std::vector<std::int32_t>> conflict_sides(const merge_input &in,
                                                      const merge_region &region,
                                                      const merge_place &place) {
    std::vector<std::int32_t> contributors = region.contributors;
    if (contributors.size() < 2) {
        contributors.clear();
        for (std::size_t k = 0; k < in.files.size(); k++) {
            contributors.push_back(static_cast<std::int32_t>(k));
        }
    }
    std::vector<std::vector<std::int32_t>> sides;
    for (const std::int32_t k : contributors) {
        const std::string_view bytes = version_at(in, place, k).bytes();
        const auto same = std::find_if(sides.begin(), sides.end(), [&](const auto &side) {
            return place.ambiguous ? in.same_as[static_cast<std::size_t>(side.front())] ==
                                         in.same_as[static_cast<std::size_t>(k)]
                                   : version_at(in, place, side.front()).bytes() == bytes;
        });
        if (same == sides.end()) {
            sides.push_back({k});
        } else {
            same->push_back(k);
        }
    }
    return sides;
}

std::string conflict_text(const merge_input &in, const merge_place &place,
                          const std::vector<std::vector<std::int32_t>> &sides,
                          const marker_options &options, std::int32_t *lead_lines) {
    std::vector<shown_lines> texts;
    texts.reserve(sides.size());
    for (const std::vector<std::int32_t> &side : sides) {
        texts.push_back(shown(version_at(in, place, side.front())));
    }
    const shown_lines first = texts.front();
    std::int32_t front = 0;
    std::int32_t back = 0;
    // Equal sides stand whole: the question is whether they are one change or several.
    if (options.style != marker_style::diff3 && !place.ambiguous) {
        front = take_common(&texts, end_of_lines::front);
        back = take_common(&texts, end_of_lines::back);
    }
    if (lead_lines != nullptr) {
        *lead_lines = front;
    }
    std::string out;
    add_lines({first.text, first.first, first.first + front}, &out);
    for (std::size_t i = 0; i < texts.size(); i++) {
        const bool middle = i > 0 && i + 1 < texts.size();
        const std::string label = side_label(sides[i], options);
        if (i == 0) {
            add_marker('<', options, label, &out);
        } else {
            add_marker('=', options, middle ? label : "", &out);
        }
        add_lines(texts[i], &out);
        if (i == 0 && options.style != marker_style::merge) {
            add_marker('|', options, options.base_label, &out);
            add_lines({in.base, place.base_first, place.base_end}, &out);
        }
    }
    add_marker('>', options, side_label(sides.back(), options), &out);
    add_lines({first.text, first.end - back, first.end}, &out);
    return out;
}

std::string clean_text(const merge_input &in, const merge_region &region,
                       const merge_place &place) {
    const place_version version = version_at(in, place, region.taken);
    std::string out;
    std::int32_t next = version.first;
    auto c = std::lower_bound(region.carried.begin(), region.carried.end(), version.first,
                              [&](const carried_edit &carried, std::int32_t line) {
                                  return carried_to(in, carried) < line;
                              });
    for (; !version.of_base && c != region.carried.end(); ++c) {
        const edit &e = edit_at(in, c->source);
        const std::int32_t at = carried_to(in, *c);
        if (at >= version.end) {
            break;
        }
        out += version.text->range(next, at);
        out += in.files[static_cast<std::size_t>(c->source.contributor)]->range(e.file_first,
                                                                                e.file_end);
        next = at + (e.base_end - e.base_first);
    }
    out += version.text->range(next, version.end);
    return out;
}

namespace {

// A place's text as the plan has it; says in `placed` what kind of text it is.
std::string place_text(const merge_input &in, const merge_plan &plan, std::size_t index,
                       const marker_options &options, placed_text *placed) {
    const merge_place &place = plan.places[index];
    const merge_region &region = plan.regions[static_cast<std::size_t>(place.region)];
    if (!region.answer.empty()) {
        const auto at = std::lower_bound(region.places.begin(), region.places.end(),
                                         static_cast<std::int32_t>(index));
        placed->answered = true;
        return region.answer[static_cast<std::size_t>(at - region.places.begin())];
    }
    if (!is_conflict(region)) {
        return clean_text(in, region, place);
    }
    // In a region of several places the contributors may agree in some of them.
    const auto sides = conflict_sides(in, region, place);
    placed->conflict = sides.size() > 1;
    return placed->conflict ? conflict_text(in, place, sides, options, &placed->lead_lines)
                            : std::string(version_at(in, place, sides[0][0]).bytes());
}

}  // namespace

merged_text write_merged(const merge_input &in, const merge_plan &plan,
                         const marker_options &options) {
    merged_text out;
    out.text.reserve(in.base->bytes.size() + in.base->bytes.size() / 8);
    text_builder builder(&out);
    std::int32_t written = 0;  // base lines
    std::int32_t lines = 0;    // of the merged text
    for (std::size_t i = 0; i < plan.places.size(); i++) {
        builder.add(in.base->range(written, plan.places[i].base_first), -1);
        placed_text placed;
        placed.from = out.text.size();
        placed.first_line = lines + (plan.places[i].base_first - written);
        const std::string text = place_text(in, plan, i, options, &placed);
        builder.add(text, static_cast<std::int32_t>(i));
        placed.end = out.text.size();
        lines = placed.first_line +
                static_cast<std::int32_t>(std::count(text.begin(), text.end(), '\n')) +
                (lacks_last_newline(text) ? 1 : 0);
        placed.end_line = lines;
        out.conflicts += placed.conflict ? 1 : 0;
        out.places.push_back(placed);
        written = plan.places[i].base_end;
    }
    builder.add(in.base->range(written, in.base->count()), -1);
    return out;
}

}  // namespace norvik
