// What a check-in weaves: the edits between two texts in memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "small_texts.h"
#include "text_compare.h"

namespace {

// What the edits make of the text before; empty when they are out of order.
std::string apply(const std::string &before, const std::string &after) {
    const auto base = split_lines(before);
    const auto file = split_lines(after);
    std::string made;
    size_t at = 0;
    const auto keep_until = [&](size_t line) {
        for (; at < line && at < base.size(); at++) {
            made += base[at];
        }
    };
    for (const norvik::edit &e : norvik::compare_texts(before, after)) {
        const auto first = static_cast<size_t>(e.base_first);
        if (first < at) {
            return {};
        }
        keep_until(first);
        at = static_cast<size_t>(e.base_end);
        for (auto line = static_cast<size_t>(e.file_first);
             line < std::min(static_cast<size_t>(e.file_end), file.size()); line++) {
            made += file[line];
        }
    }
    keep_until(base.size());
    return made;
}

TEST(text_compare, edits_make_the_one_text_of_the_other) {
    for (const unsigned seed : seeds(400)) {
        text_maker make{std::mt19937(seed), seed % 4 * 0.3, 0.1, seed % 2 == 0};
        // Longer than what is looked at beside the common ends.
        const std::string before = joined(make.text(make.below(700)), make.chance(0.2));
        const std::string after = make.changed(before);
        ASSERT_EQ(apply(before, after), after);
        ASSERT_TRUE(norvik::compare_texts(after, after).empty());
    }
}

TEST(text_compare, lines_of_few_kinds_get_the_shortest_edits) {
    const std::string before = lines_of("b a c b a a a a a b");
    for (size_t line = 0; line <= 10; line++) {
        std::string after = before;
        after.insert(2 * line, "b\nb\n");
        int lines = 0;
        for (const norvik::edit &e : norvik::compare_texts(before, after)) {
            lines += e.base_end - e.base_first + e.file_end - e.file_first;
        }
        EXPECT_EQ(lines, 2) << after;
    }
}

}  // namespace
