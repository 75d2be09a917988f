#include "compared_texts.h"

#include <gtest/gtest.h>

#include <map>

using norvik::text_lines;

namespace {

// partner[i + 1] is that of line i of the file; the texts' ends are partners of each other.
std::vector<int32_t> partners(const text_lines &base, const text_lines &file,
                              norvik::line_equality equality) {
    std::vector<int32_t> partner(static_cast<size_t>(file.count()) + 2, -2);
    std::vector<bool> taken(static_cast<size_t>(base.count()));
    partner.front() = -1;
    partner.back() = base.count();
    const auto pair = [&](int32_t in_base, int32_t in_file) {
        const auto at = static_cast<size_t>(in_file) + 1;
        if (partner[at] == -2 && in_base >= 0 && in_base < base.count() &&
            !taken[static_cast<size_t>(in_base)] &&
            norvik::same_line(base.line(in_base), file.line(in_file), equality)) {
            partner[at] = in_base;
            taken[static_cast<size_t>(in_base)] = true;
        }
    };
    std::map<std::string_view, std::array<std::vector<int32_t>, 2>> where;
    for (int32_t i = 0; i < base.count(); i++) {
        where[base.line(i)][0].push_back(i);
    }
    for (int32_t i = 0; i < file.count(); i++) {
        where[file.line(i)][1].push_back(i);
    }
    for (const auto &[line, places] : where) {
        if (places[0].size() == 1 && places[1].size() == 1) {
            pair(places[0][0], places[1][0]);
        }
    }
    for (int32_t i = 0; i < file.count(); i++) {
        pair(partner[static_cast<size_t>(i)] + 1, i);
    }
    for (int32_t i = file.count() - 1; i >= 0; i--) {
        pair(partner[static_cast<size_t>(i) + 2] - 1, i);
    }
    return partner;
}

}  // namespace

norvik::paired_lines plain_pairs(const text_lines &base, const text_lines &file,
                                 norvik::line_equality equality) {
    const std::vector<int32_t> partner = partners(base, file, equality);
    norvik::paired_lines pairs;
    int32_t next = 0;  // base line behind the last pair in place
    for (int32_t i = 0; i < file.count(); i++) {
        const int32_t line = partner[static_cast<size_t>(i) + 1];
        if (line >= next) {
            pairs.in_place.push_back({line, i, 1});
            next = line + 1;
        } else if (line >= 0) {
            pairs.crossing.push_back({line, i, 1});
        }
    }
    return pairs;
}

compared_texts::compared_texts(std::vector<std::string> all) : texts(std::move(all)) {
    for (const std::string &text : texts) {
        lines.push_back(norvik::split_lines(text));
    }
}

norvik::file_edits compared_texts::edits(size_t index,
                                         const norvik::edit_list_options &options) const {
    return norvik::edits_from_pairs(
        lines[0], lines[index], plain_pairs(lines[0], lines[index], options.equality), {}, options);
}

merge_of::merge_of(const std::vector<std::string> &all, norvik::merge_options options)
    : compared(all) {
    run.in.base = &compared.lines[0];
    if (options.ignore_blanks) {
        run.in.equality = norvik::line_equality::without_inner_blanks;
    }
    for (size_t k = 1; k < all.size(); k++) {
        options.markers.labels.push_back(std::to_string(k));
        if (!norvik::add_contributor(&compared.lines[k], &run.in)) {
            run.in.changes.back() = compared.edits(k, {run.in.equality});
        }
    }
    run.plan = norvik::plan_merge(run.in, options.apply_adjacent);
    EXPECT_TRUE(norvik::finish_merge(options, &run));
    clean = norvik::is_clean(run.plan);
    text = run.merged.text;
}
