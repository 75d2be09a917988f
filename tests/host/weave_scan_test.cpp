#include "weave_scan.h"

#include <gtest/gtest.h>

#include "line_hash.h"
#include "random_history.h"
#include "structure.h"
#include "text_lines.h"

namespace {

using host::container_view;
using host::version_id;
using host_tests::random_history;

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
    for (const unsigned seed : seeds(12)) {
        // One goes over several of the blocks that the library reads containers in.
        random_history history(seed, 40, seed == 1 ? 9000 : 0);
        container_view view;
        ASSERT_EQ(host::open_container(history.path(), &view), 0);
        EXPECT_FALSE(host::scan_structure(view));
        const host::weave_scan scan = host::scan_weave(view, true, {});
        for (const host::weave_fault &fault : scan.faults) {
            ADD_FAILURE() << fault.what.line << ": " << fault.what.reason;
        }
        for (const auto &[id, version] : history.versions) {
            SCOPED_TRACE(host::version_name(view, id));
            EXPECT_EQ(host_tests::text_of_version(view, id), version.text);
            EXPECT_EQ(host_tests::constructed(history.path(), version.oid), version.text);
            const uint32_t position = host::position_of(scan.tree, id);
            ASSERT_NE(position, host::no_position);
            const host::text_step &read = scan.totals[position];
            EXPECT_EQ(read.bytes, version.text.size());
            EXPECT_EQ(read.offset, fingerprint(version.text));
            const host::change_counts &change = scan.changes[position];
            if (id == version_id{0, 0}) {
                continue;
            }
            const version_id before = scan.tree.versions[scan.tree.parent[position]];
            EXPECT_EQ(before, version.predecessor);
            const std::string &had = history.versions[version.predecessor].text;
            const auto had_lines = static_cast<uint64_t>(host::split_lines(had).count());
            EXPECT_EQ(had_lines + change.added - change.deleted, read.lines);
            EXPECT_EQ(change.deleted == 0 && change.added == 0, had == version.text);
        }
    }
}

}  // namespace
