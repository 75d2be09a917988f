#include "weave_scan.h"

#include <gtest/gtest.h>

#include "random_history.h"
#include "sample_container.h"
#include "structure.h"
#include "text_lines.h"

namespace {

using host_tests::random_history;
using norvik::container_view;
using norvik::version_id;

uint64_t fingerprint(std::string_view text) {
    uint64_t value = 0;
    for (const char byte : text) {
        value = norvik::multiply_add(value, 0x149ddc2f08683ba1, static_cast<unsigned char>(byte));
    }
    return value;
}

TEST(weave_scan, reads_every_version_of_random_histories_in_one_pass) {
    for (const unsigned seed : seeds(12)) {
        // One goes over several of the blocks that the library reads containers in.
        random_history history(seed, 40, seed == 1 ? 16000 : 30);
        const container_view view = opened(read_file(history.path()));
        EXPECT_FALSE(norvik::scan_structure(view));
        const norvik::weave_scan scan = norvik::scan_weave(view, norvik::fingerprints::bytes, {});
        for (const norvik::weave_fault &fault : scan.faults) {
            ADD_FAILURE() << fault.what.line << ": " << fault.what.reason;
        }
        for (const auto &[id, version] : history.versions) {
            SCOPED_TRACE(norvik::version_name(view, id));
            EXPECT_EQ(host_tests::text_of_version(view, id), version.text);
            EXPECT_EQ(host_tests::constructed(history.path(), version.oid), version.text);
            const uint32_t position = norvik::position_of(scan.tree, id);
            ASSERT_NE(position, norvik::no_position);
            const norvik::text_step &read = scan.totals[position];
            EXPECT_EQ(read.bytes, version.text.size());
            EXPECT_EQ(read.offset, fingerprint(version.text));
            const norvik::change_counts &change = scan.changes[position];
            if (id == version_id{0, 0}) {
                continue;
            }
            const version_id before = scan.tree.versions[scan.tree.parent[position]];
            EXPECT_EQ(before, version.predecessor);
            const std::string &had = history.versions[version.predecessor].text;
            const auto had_lines = static_cast<uint64_t>(norvik::split_lines(had).count());
            EXPECT_EQ(had_lines + change.added - change.deleted, read.lines);
            EXPECT_EQ(change.deleted == 0 && change.added == 0, had == version.text);
        }
    }
}

}  // namespace
