// Random damages to random containers: what repair calls saved has the text that was checked in.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <norviktdm/tdm.h>

#include <algorithm>
#include <cstdlib>

#include "container_repair.h"
#include "random_history.h"

namespace {

using host::container_view;
using host_tests::random_history;

enum class damage_kind { byte, digit, removed_byte, added_byte, dropped, doubled, swapped, count };

struct damage_case {
    damage_kind kind;
    size_t at;    // of the byte, or the start of the record
    size_t past;  // behind the lines that it touches
    char byte;
};

size_t line_end(const std::string &bytes, size_t at) {
    const size_t newline = bytes.find('\n', at);
    return newline == std::string::npos ? bytes.size() : newline + 1;
}

bool is_record(const std::string &bytes, size_t at) {
    return bytes[at] == '^' && bytes[at + 1] != 'Q' && bytes[at + 1] != 'N';
}

damage_case random_damage(const std::string &bytes, random_history &history) {
    constexpr std::string_view likely = "^0123456789abcdef \nIDQNVBE#";
    const auto pick = [&](size_t below) { return history.pick(static_cast<unsigned>(below)); };
    const auto kind = static_cast<damage_kind>(pick(static_cast<size_t>(damage_kind::count)));
    size_t at = pick(bytes.size());
    if (kind != damage_kind::byte && kind != damage_kind::removed_byte &&
        kind != damage_kind::added_byte) {
        at = at == 0 ? 0 : line_end(bytes, at - 1) % bytes.size();
        for (; !is_record(bytes, at); at = line_end(bytes, at) % bytes.size()) {
        }
    }
    size_t past = line_end(bytes, at);
    at += kind == damage_kind::digit ? pick(past - at - 1) : 0;
    past = kind == damage_kind::swapped ? line_end(bytes, past) : past;
    return {kind, at, past, likely[pick(likely.size())]};
}

std::string damaged(std::string bytes, const damage_case &damage) {
    const size_t size = line_end(bytes, damage.at) - damage.at;
    const std::string line = bytes.substr(damage.at, size);
    switch (damage.kind) {
        case damage_kind::removed_byte:
            return bytes.erase(damage.at, 1);
        case damage_kind::added_byte:
            return bytes.insert(damage.at, 1, damage.byte);
        case damage_kind::dropped:
            return bytes.erase(damage.at, size);
        case damage_kind::doubled:
            return bytes.insert(damage.at, line);
        case damage_kind::swapped:
            return bytes.erase(damage.at, size).insert(damage.past - size, line);
        default:
            bytes[damage.at] = damage.byte;
            return bytes;
    }
}

// The history's container after some versions have been deleted.
std::string pruned_container(random_history &history) {
    std::vector<const char *> deleted;
    for (const auto &[id, version] : history.versions) {
        if (id != host::version_id{0, 0} && history.pick(5) == 0) {
            deleted.push_back(version.oid.c_str());
        }
    }
    EXPECT_EQ(tdm_delete_versions_and_branches(history.path().c_str(), "pruned",
                                               static_cast<int32_t>(deleted.size()), deleted.data(),
                                               0, nullptr),
              0);
    return read_file("pruned");
}

struct judgement {
    bool sound = false;
    size_t saved = 0;
    std::string wrong;  // saved versions with another text, and the complaints
};

judgement judge(const std::string &bytes, const random_history &history) {
    judgement result;
    container_view view;
    container_view repaired;
    write_file("damaged", bytes);
    EXPECT_EQ(host::open_container(std::string("damaged"), &view), 0);
    const host::container_check check = host::check_container(view, false, {});
    if (check.faults.empty()) {
        result.sound = true;
        return result;
    }
    const host::repair_verdict verdict = host::judge_versions(view, check, false);
    result.saved = verdict.saved.size();
    write_file("repaired", "");
    host::output_writer out(open("repaired", O_WRONLY), "repaired");
    host::write_repaired(view, check, verdict, &out);
    EXPECT_EQ(out.finish(), 0);
    EXPECT_EQ(host::open_container(std::string("repaired"), &repaired), 0);
    for (const auto &[id, version] : history.versions) {
        const host::version_record *saved = host::find_version_by_oid(repaired, version.oid);
        if (saved != nullptr && host_tests::text_of_version(repaired, saved->id) != version.text) {
            result.wrong += host::version_name(repaired, saved->id) + " " + version.oid + "\n";
        }
    }
    for (const host::weave_fault &fault : check.faults) {
        result.wrong += result.wrong.empty()
                            ? ""
                            : std::to_string(fault.what.line) + ": " + fault.what.reason + "\n";
    }
    return result;
}

// Damages that leave a container as check-ins could have written it cannot be seen: one that is
// not seen alone is not made together with another.
TEST(repair, saves_no_version_with_another_text) {
    const char *wanted = std::getenv("TDM_FUZZ_HISTORIES");
    const unsigned histories = wanted == nullptr ? 6 : static_cast<unsigned>(std::atoi(wanted));
    constexpr int rounds = 250;
    const scratch_folder folder;
    size_t saved = 0;
    size_t total = 0;
    for (const unsigned seed : seeds(histories)) {
        random_history history(seed, 12 + static_cast<int>(seed % 20));
        const std::string bytes =
            seed % 2 == 0 ? pruned_container(history) : read_file(history.path());
        for (int round = 0; round < rounds; round++) {
            SCOPED_TRACE(round);
            const damage_case first = random_damage(bytes, history);
            const damage_case second = random_damage(bytes, history);
            const std::string once = damaged(bytes, second);
            const judgement one = judge(once, history);
            if (one.sound) {
                continue;
            }
            EXPECT_EQ(one.wrong, "");
            saved += one.saved;
            total += history.versions.size();
            if (first.past <= second.at && !judge(damaged(bytes, first), history).sound) {
                EXPECT_EQ(judge(damaged(once, first), history).wrong, "") << "two damages";
            }
        }
    }
    std::printf("%zu of %zu versions saved\n", saved, total);
    EXPECT_GT(saved, total / 10);
}

}  // namespace
