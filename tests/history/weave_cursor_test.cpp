// The tree of versions, the pass over all of them and the rewriting of weaves, each against one
// version after the other.
#include "weave_cursor.h"

#include <gtest/gtest.h>

#include "listed_versions.h"
#include "random_history.h"
#include "sample_container.h"
#include "structure.h"
#include "weave_rewrite.h"

namespace {

using host_tests::random_history;
using norvik::container_view;
using norvik::version_id;

// A random history, with deleted versions for every other seed.
std::string random_container(random_history &history, unsigned seed) {
    return seed % 2 == 0 ? history.pruned() : read_file(history.path());
}

std::vector<version_id> lineage(const container_view &view, version_id id) {
    std::vector<version_id> ids;
    EXPECT_TRUE(norvik::lineage_of(view, id, &ids));
    return ids;
}

TEST(version_tree, ranges_hold_what_lineages_hold) {
    for (const unsigned seed : seeds(4)) {
        random_history history(seed, 40, 30);
        const container_view view = opened(random_container(history, seed));
        const norvik::version_tree tree = norvik::build_version_tree(view);
        const norvik::listed_versions listed(view);
        EXPECT_TRUE(listed.header_is_sound());
        for (const norvik::version_record &newer : view.versions) {
            const auto above = lineage(view, newer.id);
            const norvik::tree_place place = norvik::place_of(tree, newer.id);
            EXPECT_TRUE(place.listed && listed.lists(newer.id));
            for (const norvik::version_record &older : view.versions) {
                const bool holds = norvik::in_lineage(above, older.id);
                const auto members = norvik::members_of(tree, older.id);
                EXPECT_EQ(members.holds({place.position, place.position + 1}), holds)
                    << older.oid << newer.oid;
                const bool descends = holds && older.id != newer.id;
                EXPECT_EQ(norvik::is_ancestor(older.id, members, newer.id, place.members),
                          descends);
                EXPECT_EQ(listed.descends(newer.id, older.id), descends);
            }
        }
    }
}

// Where the text of a version stands in the container.
std::vector<std::string_view> pieces_of(const container_view &view, version_id id) {
    std::vector<std::string_view> pieces;
    EXPECT_FALSE(norvik::walk_version(view, lineage(view, id), [&](std::string_view piece) {
        pieces.push_back(piece);
        return true;
    }));
    return pieces;
}

TEST(weave_cursor, knows_who_holds_every_line) {
    for (const unsigned seed : seeds(4)) {
        random_history history(seed, 40, 30);
        const container_view view = opened(random_container(history, seed));
        const norvik::version_tree tree = norvik::build_version_tree(view);
        std::vector<std::vector<std::string_view>> texts;
        for (const version_id id : tree.versions) {
            texts.push_back(pieces_of(view, id));
        }
        norvik::weave_cursor cursor(view, tree);
        for (norvik::weave_stretch stretch; cursor.next(&stretch);) {
            const char *first =
                (stretch.kind == 0 ? stretch.bytes : norvik::text_of(stretch.bytes)).data();
            std::vector<norvik::position_range> parts;
            cursor.holders(stretch, &parts);
            for (uint32_t i = 0; i < texts.size(); i++) {
                const bool holds =
                    std::any_of(parts.begin(), parts.end(), [&](norvik::position_range p) {
                        return p.holds({i, i + 1});
                    });
                EXPECT_EQ(holds, std::any_of(texts[i].begin(), texts[i].end(),
                                             [&](std::string_view piece) {
                                                 return piece.data() <= first &&
                                                        first < piece.data() + piece.size();
                                             }))
                    << stretch.line;
            }
        }
    }
}

TEST(weave_rewrite, keeps_the_texts_of_survivors_and_no_other_line) {
    for (const unsigned seed : seeds(4)) {
        random_history history(seed, 40, 30);
        const container_view view = opened(random_container(history, seed));
        const norvik::version_tree tree = norvik::build_version_tree(view);
        std::vector<bool> alive(tree.versions.size());
        for (const auto &[id, version] : history.versions) {
            alive[norvik::position_of(tree, id)] = history.pick(2) == 0;
        }
        const norvik::survivor_set survivors(alive);
        const norvik::rewrite_plan plan{[](std::string_view) { return true; }, seed % 4 < 2};
        const norvik::weave_rewrite rewrite(view, tree, survivors, plan);
        std::string bytes(view.bytes.view().substr(0, view.weave_offset));
        rewrite.write([&bytes](std::string_view piece) { bytes += piece; });
        const container_view after = opened(bytes);
        for (const auto &[id, version] : history.versions) {
            if (alive[norvik::position_of(tree, id)]) {
                EXPECT_EQ(host_tests::text_of_version(after, id), version.text) << version.oid;
            }
        }
        norvik::weave_cursor cursor(after, tree);
        std::set<version_id> owners;
        for (norvik::weave_stretch stretch; cursor.next(&stretch);) {
            std::vector<norvik::position_range> parts;
            cursor.holders(stretch, &parts);
            EXPECT_TRUE(std::any_of(parts.begin(), parts.end(),
                                    [&](auto part) { return survivors.any_in(part); }));
            for (const norvik::weave_record &record : cursor.records()) {
                owners.insert({record.fields.branch, record.fields.version});
            }
        }
        EXPECT_TRUE(cursor.faults().empty());
        EXPECT_TRUE(std::ranges::includes(rewrite.owners(), owners));
    }
}

}  // namespace
