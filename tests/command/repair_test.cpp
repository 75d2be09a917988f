// Random damages to random containers: what repair calls saved has the text that was checked in.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "container_repair.h"
#include "digests_file.h"
#include "random_history.h"
#include "run_command.h"
#include "sample_container.h"
#include "weave_soundness.h"

namespace {

using host_tests::random_history;
using norvik::container_view;

// A line of the container, from 0, and what stands there instead: nothing, one line or two.
struct damage_case {
    size_t line;
    std::vector<std::string> instead;
};

damage_case random_damage(const std::vector<std::string> &lines, random_history &history) {
    constexpr std::string_view likely = "^0123456789abcdef \nIDQNVBE#";
    const auto pick = [&](size_t below) { return history.pick(static_cast<unsigned>(below)); };
    const auto is_record = [&](size_t i) {
        return lines[i][0] == '^' && lines[i][1] != 'Q' && lines[i][1] != 'N';
    };
    const unsigned kind = pick(6);
    size_t at = pick(lines.size());
    while (kind >= 3 && !is_record(at)) {
        at = pick(lines.size());
    }
    const std::string &line = lines[at];
    const size_t byte = pick(line.size());
    std::string changed = line;
    switch (kind) {
        case 0:
            return {at, {changed.erase(byte, 1)}};
        case 1:
            return {at, {changed.insert(byte, 1, likely[pick(likely.size())])}};
        case 3:
            return {at, {}};
        case 4:
            return {at, {line, line}};
        default:
            changed[kind == 5 ? std::min(byte, line.size() - 2) : byte] =
                likely[pick(likely.size())];
            return {at, {changed}};
    }
}

std::string damaged(std::vector<std::string> lines, const std::vector<damage_case> &all) {
    for (const damage_case &damage : all) {
        lines[damage.line] = joined(damage.instead);
    }
    return joined(lines);
}

struct judgement {
    bool sound = false;
    bool unseen = false;  // a sound container with another text
    size_t saved = 0;
    std::string wrong;  // saved versions with another text, and the complaints
};

// Whether every version is there, by its name or its identifier, with its text.
bool texts_are_the_same(const container_view &view, const random_history &history) {
    return std::all_of(history.versions.begin(), history.versions.end(), [&](const auto &entry) {
        const auto &[id, version] = entry;
        const norvik::version_record *found = norvik::find_version_by_oid(view, version.oid);
        found = found != nullptr ? found : norvik::find_version(view, id);
        return found != nullptr && host_tests::text_of_version(view, found->id) == version.text;
    });
}

judgement judge(const std::string &bytes, const random_history &history,
                const norvik::kept_digests &kept) {
    judgement result;
    const container_view view = opened(bytes);
    norvik::container_check check = norvik::check_container(view, norvik::fingerprints::bytes, {});
    result.sound = check.faults.empty();
    // What is wrong with the first branch or version alone no text needs.
    EXPECT_TRUE(result.sound || !norvik::is_plainly_sound(view) ||
                check.faults[0].what.reason.find("the first ") != std::string::npos)
        << check.faults[0].what.reason;
    result.unseen = result.sound && !texts_are_the_same(view, history);
    if (result.unseen) {
        kept.compare(view, &check);
        EXPECT_FALSE(check.faults.empty()) << "not even the digests show it";
    }
    if (result.sound) {
        return result;
    }
    const norvik::repair_verdict verdict = norvik::judge_versions(view, check, false);
    result.saved = verdict.saved.size();
    const container_view repaired = opened(norvik::repaired_container(view, check, verdict));
    for (const auto &[id, version] : history.versions) {
        const norvik::version_record *saved = norvik::find_version_by_oid(repaired, version.oid);
        if (saved != nullptr && host_tests::text_of_version(repaired, saved->id) != version.text) {
            result.wrong += norvik::version_name(repaired, saved->id) + " " + version.oid + "\n";
        }
    }
    for (const norvik::weave_fault &fault : check.faults) {
        result.wrong += result.wrong.empty()
                            ? ""
                            : std::to_string(fault.what.line) + ": " + fault.what.reason + "\n";
    }
    return result;
}

// Damages that leave a container as check-ins could have written it cannot be seen, but for kept
// digests: one that is not seen alone is not made together with another.
TEST(repair, saves_no_version_with_another_text) {
    const char *wanted = std::getenv("TDM_FUZZ_HISTORIES");
    const unsigned histories = wanted == nullptr ? 6 : static_cast<unsigned>(std::atoi(wanted));
    constexpr int rounds = 250;
    const scratch_folder folder;
    size_t saved = 0;
    size_t total = 0;
    int seen = 0, unseen = 0;
    for (const unsigned seed : seeds(histories)) {
        random_history history(seed, 12 + static_cast<int>(seed % 20));
        const std::string bytes = seed % 2 == 0 ? history.pruned() : read_file(history.path());
        const std::vector<std::string> lines = split_lines(bytes);
        write_file("whole", bytes);
        write_file("digests", tdm("verify --json whole").out);
        const auto kept = norvik::read_digests("digests");
        ASSERT_TRUE(kept);
        for (int round = 0; round < rounds; round++) {
            SCOPED_TRACE(round);
            const damage_case first = random_damage(lines, history);
            const damage_case second = random_damage(lines, history);
            const std::string once = damaged(lines, {second});
            const judgement one = judge(once, history, *kept);
            unseen += one.unseen ? 1 : 0;
            seen += one.sound ? 0 : 1;
            if (one.sound) {
                continue;
            }
            EXPECT_EQ(one.wrong, "");
            saved += one.saved;
            total += history.versions.size();
            if (first.line != second.line &&
                !judge(damaged(lines, {first}), history, *kept).sound) {
                EXPECT_EQ(judge(damaged(lines, {first, second}), history, *kept).wrong, "")
                    << "two damages";
            }
        }
    }
    std::printf("%zu of %zu versions saved, %d seen, %d not\n", saved, total, seen, unseen);
    EXPECT_GT(saved, total / 10);
    EXPECT_LT(unseen, seen);
}

}  // namespace
