// A region's words are made from the plan: who changed it, how, and why that is a conflict. Where
// the sides may look alike they are stripped of one kind of bytes after another: the first that
// leaves them equal is what they differ in. A few passes over the sides of each conflict.
#include "merge_words.h"

#include <algorithm>
#include <array>

#include "escaped_text.h"
#include "exit_status.h"
#include "json_text.h"
#include "output.h"
#include "text_merge.h"

namespace norvik {

namespace {

constexpr std::size_t most_moves_told = 8;  // of one region

bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r' && c != '\n');
}

std::string without_crs(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); i++) {
        if (text[i] != '\r' || i + 1 == text.size() || text[i + 1] != '\n') {
            out += text[i];
        }
    }
    return out;
}

std::string without_end_blanks(std::string_view text) {
    std::string out;
    for (const char c : text) {
        while (c == '\n' && !out.empty() && is_blank(out.back())) {
            out.pop_back();
        }
        out += c;
    }
    while (!out.empty() && is_blank(out.back())) {
        out.pop_back();
    }
    return out;
}

std::string without_last_newline(std::string_view text) {
    return std::string(text.substr(0, text.size() - (text.ends_with('\n') ? 1 : 0)));
}

std::string without_any_blanks(std::string_view text) {
    std::string out = without_last_newline(text);
    out.erase(std::remove_if(out.begin(), out.end(), is_blank), out.end());
    return out;
}

struct invisible_kind {
    std::string_view words;
    std::string (*strip)(std::string_view);
};

// The first that makes the sides equal is told, so the narrow ones stand before the wide ones.
constexpr std::array<invisible_kind, 4> invisible_kinds{{
    {"line endings", without_crs},
    {"the newline at the end", without_last_newline},
    {"blanks at line ends", without_end_blanks},
    {"blanks", without_any_blanks},
}};

std::string label_of(const merge_options &options, std::int32_t contributor) {
    return escape_name(options.markers.labels[static_cast<std::size_t>(contributor)]);
}

std::string names_of(const merge_options &options, const std::vector<std::int32_t> &contributors) {
    std::string names;
    for (std::size_t i = 0; i < contributors.size(); i++) {
        names += i == 0 ? "" : i + 1 == contributors.size() ? " and " : ", ";
        names += label_of(options, contributors[i]);
    }
    return names;
}

std::string move_words(const merge_run &run, const merge_options &options,
                       const merge_region &region) {
    std::string words;
    std::size_t told = 0;
    for (const std::int32_t i : region.places) {
        const merge_place &place = run.plan.places[static_cast<std::size_t>(i)];
        for (const std::int32_t k : region.contributors) {
            const std::vector<line_run> &moves = run.in.changes[static_cast<std::size_t>(k)].moves;
            auto move = std::lower_bound(
                moves.begin(), moves.end(), place.base_first,
                [](const line_run &m, std::int32_t line) { return m.base_first < line; });
            for (; move != moves.end() && move->base_first < place.base_end; ++move) {
                if (++told > most_moves_told) {
                    return words + "; and so on";
                }
                words += "; " + label_of(options, k) + " moved " +
                         range_words(move->base_first, move->base_first + move->count) + " to " +
                         range_words(move->file_first, move->file_first + move->count);
            }
        }
    }
    return words;
}

// What people cannot see between the markers of a place.
std::string hidden_words(const merge_run &run, const merge_options &options,
                         const merge_region &region, const merge_place &place) {
    std::string words;
    std::vector<std::string_view> texts;
    std::string unended;
    for (const auto &side : conflict_sides(run.in, region, place)) {
        texts.push_back(version_at(run.in, place, side.front()).bytes());
        if (lacks_last_newline(texts.back())) {
            unended += (unended.empty() ? "" : ", ") + names_of(options, side);
        }
    }
    const std::string_view kind = invisible_difference(texts);
    if (!kind.empty()) {
        words += "; the sides differ in " + std::string(kind) + " only";
    } else if (std::any_of(texts.begin(), texts.end(), [&](std::string_view text) {
                   return !text.empty() && !texts[0].empty() &&
                          (text.find("\r\n") == text.npos) != (texts[0].find("\r\n") == text.npos);
               })) {
        words += "; their line endings differ too";
    }
    return unended.empty() ? words : words + "; no newline at the end in " + unended;
}

const char *conflict_words(const merge_run &run, const merge_region &region) {
    const bool insertions =
        std::all_of(region.places.begin(), region.places.end(), [&](std::int32_t i) {
            const merge_place &place = run.plan.places[static_cast<std::size_t>(i)];
            return place.base_first == place.base_end;
        });
    switch (region.conflict) {
        case conflict_reason::repeated:
            return " inserted the same lines in different places";
        case conflict_reason::ambiguous:
            return " changed lines that repeat: which of them, and whether together, cannot be "
                   "told";
        case conflict_reason::unproved:
            return " change the same text, which would be lost or stand twice";
        default:
            return insertions ? " inserted different lines in the same place"
                              : " changed the same lines differently";
    }
}

const char *outcome_of(const merge_region &region) {
    return !region.answer.empty()           ? "answered"
           : is_conflict(region)            ? "conflict"
           : !region.carried.empty()        ? "carried"
           : region.contributors.size() > 1 ? "agreed"
                                            : "taken";
}

const char *reason_of(conflict_reason reason) {
    constexpr std::array names{"none", "differ", "moved", "ambiguous", "repeated", "unproved"};
    return names[static_cast<std::size_t>(reason)];
}

void describe_range(json_writer &json, std::int32_t first, std::int32_t end) {
    json.field("first", first + 1);
    json.field("count", end - first);
}

void describe_range(json_writer &json, const char *key, std::int32_t first, std::int32_t end) {
    json.begin_object(key);
    describe_range(json, first, end);
    json.end();
}

void describe_place(json_writer &json, const merge_run &run, const merge_region &region,
                    std::int32_t index) {
    const merge_place &place = run.plan.places[static_cast<std::size_t>(index)];
    const placed_text &placed = run.merged.places[static_cast<std::size_t>(index)];
    json.begin_object();
    json.field("markers", placed.conflict);
    describe_range(json, "base", place.base_first, place.base_end);
    describe_range(json, "output", placed.first_line, placed.end_line);
    json.begin_array("versions");
    for (const std::int32_t k : region.contributors) {
        const place_version version = version_at(run.in, place, k);
        if (!version.of_base) {
            json.begin_object();
            json.field("file", k + 1);
            describe_range(json, version.first, version.end);
            json.end();
        }
    }
    json.end();
    json.end();
}

void describe_region(json_writer &json, const merge_run &run, const merge_options &options,
                     const merge_region &region) {
    json.begin_object();
    json.text("outcome", outcome_of(region));
    if (is_conflict(region)) {
        json.text("reason", reason_of(region.conflict));
    }
    json.begin_array("files");
    for (const std::int32_t k : region.contributors) {
        json.element(k + 1);
    }
    json.end();
    if (!is_conflict(region) && region.answer.empty()) {
        json.field("taken", region.taken + 1);
    }
    json.text("words", region_words(run, options, region));
    json.begin_array("places");
    for (const std::int32_t place : region.places) {
        describe_place(json, run, region, place);
    }
    json.end();
    json.end();
}

}  // namespace

std::string_view invisible_difference(const std::vector<std::string_view> &texts) {
    const auto is_first = [&](std::string_view text) { return text == texts.front(); };
    const auto is_empty = [](std::string_view text) { return text.empty(); };
    // A side without lines is seen, and sides of a move may be equal at one of its places.
    if (std::all_of(texts.begin(), texts.end(), is_first) ||
        std::any_of(texts.begin(), texts.end(), is_empty)) {
        return {};
    }
    for (const invisible_kind &kind : invisible_kinds) {
        const std::string first = kind.strip(texts.front());
        if (std::all_of(texts.begin(), texts.end(),
                        [&](std::string_view text) { return kind.strip(text) == first; })) {
            return kind.words;
        }
    }
    return {};
}

std::string range_words(std::int32_t first, std::int32_t end) {
    if (first == end) {
        return "after line " + std::to_string(first);
    }
    return end - first == 1 ? "line " + std::to_string(end)
                            : "lines " + std::to_string(first + 1) + "-" + std::to_string(end);
}

std::string region_words(const merge_run &run, const merge_options &options,
                         const merge_region &region) {
    const std::string names = names_of(options, region.contributors);
    if (is_conflict(region)) {
        std::string words =
            "conflict: " + names + conflict_words(run, region) + move_words(run, options, region);
        for (const std::int32_t place : region.places) {
            words += hidden_words(run, options, region,
                                  run.plan.places[static_cast<std::size_t>(place)]);
        }
        return words;
    }
    if (!region.answer.empty()) {
        return "decided by an answer between " + names;
    }
    if (!region.carried.empty()) {
        return "taken from " + label_of(options, region.taken) + ", changes of moved lines by " +
               names + " carried along" + move_words(run, options, region);
    }
    return (region.contributors.size() > 1 ? "the same from " : "taken from ") + names +
           move_words(run, options, region);
}

namespace {

// The lines on which the conflict's markers begin, from 1; where nothing stands between markers,
// the first line of the region.
std::vector<std::int32_t> marker_lines(const merge_run &run, const merge_region &region) {
    std::vector<std::int32_t> lines;
    for (const std::int32_t place : region.places) {
        const placed_text &placed = run.merged.places[static_cast<std::size_t>(place)];
        if (placed.conflict) {
            lines.push_back(placed.first_line + placed.lead_lines + 1);
        }
    }
    if (lines.empty()) {
        const auto first = static_cast<std::size_t>(region.places.front());
        lines.push_back(run.merged.places[first].first_line + 1);
    }
    return lines;
}

}  // namespace

void say_conflicts(const merge_run &run, const merge_options &options, std::string_view output) {
    for (const merge_region &region : run.plan.regions) {
        if (region.places.empty() || !is_conflict(region)) {
            continue;
        }
        const std::vector<std::int32_t> lines = marker_lines(run, region);
        std::string words = region_words(run, options, region);
        for (std::size_t i = 1; i < lines.size(); i++) {
            words += (i == 1 ? "; also at line " : ", ") + std::to_string(lines[i]);
        }
        say_of_line(output, static_cast<std::uint64_t>(lines.front()), words);
    }
    for (const repeated_lines &lines : run.verdict.repeated) {
        say_of_line(output, static_cast<std::uint64_t>(lines.first) + 1,
                    "inserted in different places by several files: " +
                        range_words(lines.first, lines.first + lines.count) + " and " +
                        range_words(lines.second, lines.second + lines.count));
    }
}

void say_conflicts_of_base(const merge_run &run, const merge_options &options,
                           std::string_view base) {
    for (const merge_region &region : run.plan.regions) {
        if (!region.places.empty() && is_conflict(region)) {
            const auto first = static_cast<std::size_t>(region.places.front());
            const std::int32_t line = run.plan.places[first].base_first + 1;
            say_of_line(base, static_cast<std::uint64_t>(std::clamp(run.in.base->count(), 1, line)),
                        region_words(run, options, region));
        }
    }
}

exit_status say_line_faults(const merge_run &run) {
    for (const line_fault &fault : run.verdict.faults) {
        say("%s", escape_name(fault_words(fault)).c_str());
    }
    return status_trouble;
}

std::string report_text(const merge_run &run, const merge_options &options) {
    std::string report;
    for (const merge_region &region : run.plan.regions) {
        if (region.places.empty()) {
            continue;
        }
        report += region_words(run, options, region) + "\n";
        for (const std::int32_t i : region.places) {
            const merge_place &place = run.plan.places[static_cast<std::size_t>(i)];
            const placed_text &placed = run.merged.places[static_cast<std::size_t>(i)];
            report += "    base " + range_words(place.base_first, place.base_end) + ", merged " +
                      range_words(placed.first_line, placed.end_line);
            for (const std::int32_t k : region.contributors) {
                const place_version version = version_at(run.in, place, k);
                if (!version.of_base) {
                    report +=
                        ", " + label_of(options, k) + " " + range_words(version.first, version.end);
                }
            }
            report += "\n";
        }
    }
    return report;
}

void print_merge_json(const merge_run &run, const merge_options &options,
                      const std::vector<std::string> &names, std::string_view output) {
    json_writer json(1);
    json.field("clean", is_clean(run.plan));
    json.field("conflicts", run.merged.conflicts);
    json.text("output", output);
    json.begin_array("inputs");
    for (const std::string &name : names) {
        json.begin_object();
        json.text("name", name);
        json.end();
    }
    json.end();
    json.begin_array("regions");
    for (const merge_region &region : run.plan.regions) {
        if (!region.places.empty()) {
            describe_region(json, run, options, region);
        }
    }
    json.end();
    json.begin_array("repeated");
    for (const repeated_lines &lines : run.verdict.repeated) {
        json.begin_object();
        json.field("first", lines.first + 1);
        json.field("second", lines.second + 1);
        json.field("count", lines.count);
        json.end();
    }
    json.end();
    json.print();
}

}  // namespace norvik
