// The annotation, against the library's listing.
#include "annotation.h"

#include <gtest/gtest.h>

#include "random_history.h"
#include "sample_container.h"

namespace {

using norvik::annotated_lines;
using norvik::container_view;

// As the library lists it; versions without a record are 32 zeros.
std::string listing(const container_view &view, norvik::version_id id, annotated_lines which) {
    const auto oid = [&view](norvik::version_id of) {
        const norvik::version_record *version = find_version(view, of);
        return version == nullptr ? std::string(32, '0') : std::string(version->oid);
    };
    std::string text;
    const auto found = norvik::annotate_version(view, id, which);
    EXPECT_TRUE(found);
    for (const norvik::annotated_stretch &stretch : *found) {
        for_each_line(stretch, true, [&](std::string_view line) {
            text.append(1, static_cast<char>(stretch.tag)).append(" ").append(oid(stretch.run));
            if (stretch.tag == format::tag_deleted) {
                text.append(",").append(oid(stretch.deleter));
            }
            text.append(" ").append(line);
        });
    }
    return text;
}

TEST(annotation, names_whom_the_library_names) {
    const std::pair<annotated_lines, uint32_t> rows[] = {
        {annotated_lines::own, 1}, {annotated_lines::lineage, 3}, {annotated_lines::all, 7}};
    for (const unsigned seed : seeds(4)) {
        const host_tests::random_history history(seed, 40, 30);
        const container_view view = opened(read_file(history.path()));
        for (const auto &[id, version] : history.versions) {
            for (const auto &[which, flags] : rows) {
                ASSERT_EQ(listing(view, id, which),
                          host_tests::constructed(history.path(), version.oid, flags))
                    << version.oid << " " << flags;
            }
        }
    }
}

TEST(annotation, damage_is_told_with_its_line) {
    const std::string head = "^S db1 0\n^V v1 0 1 1\n^V v0 0 0 1\n^B main 0 0 0\n^E e\n";
    const std::pair<const char *, const char *> rows[] = {
        {"stray\n", "6: a line outside every inserted run"},
        {"^I 0 1 1\na\nb\n", "8: a line outside every inserted run"},
        {"^I 0 x 1\na\n", "6: a record that cannot be read"},
    };
    for (const auto &[weave, told] : rows) {
        const container_view view = opened(head + weave);
        const auto found = norvik::annotate_version(view, {0, 1}, annotated_lines::own);
        ASSERT_FALSE(found);
        EXPECT_EQ(std::to_string(found.failure().line) + ": " + found.failure().reason, told);
    }
}

}  // namespace
