#include "weave_scan.h"

#include <gtest/gtest.h>

#include "line_hash.h"
#include "random_history.h"
#include "structure.h"

namespace {

using host::container_view;
using host::version_id;
using host_tests::random_history;

std::string walked_text(const container_view &view, version_id id) {
    std::vector<version_id> lineage;
    EXPECT_TRUE(host::lineage_of(view, id, &lineage));
    std::string text;
    const auto add = [&](std::string_view piece) {
        text += piece;
        return true;
    };
    EXPECT_FALSE(host::walk_version(view, lineage, add));
    return text;
}

uint64_t fingerprint(std::string_view text) {
    uint64_t value = 0;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n') + 1);
        const std::string_view taken = line.empty() ? text : line;
        value = host::multiply_add(value, host::fingerprint_base, host::hash_line(taken));
        text.remove_prefix(taken.size());
    }
    return value;
}

TEST(weave_scan, reads_every_version_of_random_histories_in_one_pass) {
    for (unsigned seed = 1; seed <= 12; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        random_history history(seed, 40);
        container_view view;
        ASSERT_EQ(host::open_container(history.path(), &view), 0);
        EXPECT_FALSE(host::scan_structure(view));
        const host::weave_scan scan = host::scan_weave(view, true, {});
        for (const host::weave_fault &fault : scan.faults) {
            ADD_FAILURE() << fault.what.line << ": " << fault.what.reason;
        }
        for (const auto &[id, version] : history.versions) {
            SCOPED_TRACE(host::version_name(view, id));
            EXPECT_EQ(walked_text(view, id), version.text);
            const uint32_t position = host::position_of(scan.tree, id);
            ASSERT_NE(position, host::no_position);
            const host::text_step &read = scan.totals[position];
            EXPECT_EQ(read.bytes, version.text.size());
            EXPECT_EQ(read.offset, fingerprint(version.text));
            const host::change_counts &change = scan.changes[position];
            const uint32_t before = scan.tree.parent[position];
            const uint64_t had = before == host::no_position ? 0 : scan.totals[before].lines;
            EXPECT_EQ(had + change.added - change.deleted, read.lines);
        }
    }
}

}  // namespace
