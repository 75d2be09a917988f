// Texts with lines of any length, against the texts themselves.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "run_command.h"
#include "seeds.h"

namespace {

struct long_text_maker {
    std::mt19937 random;

    size_t below(size_t end) { return random() % end; }

    std::string bytes(size_t size) {
        std::string made(size, ' ');
        for (char &byte : made) {
            byte = "abcdef^{}\",:012 "[below(16)];
        }
        return made;
    }

    std::string line() {
        const size_t sizes[] = {7990, 7997, 8000, 8001, 8003, 8247, 9000, 16000, 40000};
        const std::string made = bytes(below(3) == 0 ? sizes[below(9)] - below(2) : below(30));
        return (made.size() > 8000 ? "^" : ".") + made;
    }

    void edit(std::vector<std::string> *lines) {
        const size_t at = below(lines->size() + 1);
        const auto place = lines->begin() + static_cast<std::ptrdiff_t>(at);
        if (at == lines->size() || below(4) == 0) {
            lines->insert(place, below(3) == 0 && at > 0 ? lines->front() : line());
        } else if (below(6) == 0) {
            lines->erase(place);
        } else {
            place->replace(below(place->size()) + 1, below(3) == 0 ? below(5000) : below(20),
                           bytes(below(3) == 0 ? below(5000) : below(20)));
        }
    }

    std::string text(const std::vector<std::string> &lines) {
        std::string all;
        for (const std::string &one : lines) {
            all += one + "\n";
        }
        return all.substr(0, all.size() - below(3) / 2);
    }
};

size_t count_lines(const std::string &text) {
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n')) +
           (text.empty() || text.ends_with('\n') ? 0 : 1);
}

void expect_texts(const std::map<std::string, std::string> &texts) {
    expect_told(tdm("verify -q c"), 0, "");
    for (const auto &[version, text] : texts) {
        EXPECT_TRUE(tdm({"checkout", "c", version, "-o", "-"}).out == text) << version;
        const std::string lines = tdm({"annotate", "c", version}).out;
        EXPECT_EQ(count_lines(lines), count_lines(text)) << version;
    }
}

// Where `patch` makes `to` of `from`.
void expect_difference(const std::string &from, const std::string &to) {
    write_file("from", from);
    write_file("to", to);
    write_file("patch", tdm("diff from to").out);
    ASSERT_EQ(run({"patch", "-s", "from", "patch"}).status, 0);
    EXPECT_TRUE(read_file("from") == to);
}

TEST(long_lines, are_stored_read_compared_deleted_and_purged) {
    for (const unsigned seed : seeds(sanitized ? 1 : 4)) {
        SCOPED_TRACE(seed);
        const scratch_folder folder;
        long_text_maker make{std::mt19937(seed)};
        std::map<std::string, std::string> texts;
        std::map<std::string, std::vector<std::string>> newest{{"main", {make.line()}}};
        ASSERT_EQ(tdm("create c").status, 0);
        for (int step = 0; step < 12; step++) {
            auto branch = std::next(newest.begin(), step % static_cast<int>(newest.size()));
            make.edit(&branch->second);
            make.edit(&branch->second);
            const std::string text = make.text(branch->second);
            write_file("text", text);
            const command_result stored = tdm(
                {"checkin", "--allow-same", "--no-base", "c", "text", "--branch", branch->first});
            ASSERT_EQ(stored.status, 0) << stored.err;
            const std::string version = stored.out.substr(0, stored.out.find_first_of("\n "));
            if (!texts.empty()) {
                expect_difference(texts.begin()->second, text);
            }
            texts[version] = text;
            if (step == 4) {
                ASSERT_EQ(tdm({"branch", "c", "side", version}).status, 0);
                newest["side"] = branch->second;
            } else if (step % 3 == 2) {
                const std::string gone = texts.begin()->first;
                ASSERT_LE(tdm({step == 5 ? "delete" : "purge", "--yes", "c", gone}).status, 1);
                if (tdm({"checkout", "c", gone, "-o", "-"}).status != 0) {
                    texts.erase(gone);
                }
            }
            expect_texts(texts);
        }
    }
}

TEST(long_lines, are_merged_and_blamed_whole) {
    const scratch_folder folder;
    long_text_maker make{std::mt19937(1)};
    const std::string line = "{" + make.bytes(30000) + "}\n";
    const std::string other = "{" + line;
    write_file("base", "a\n" + line + "b\nc\nd\ne\n");
    write_file("ours", "a\n" + other + "b\nc\nd\ne\n");
    write_file("theirs", "a\n" + line + "b\nc\nd\nE\n");
    EXPECT_TRUE(tdm("merge base ours theirs").out == "a\n" + other + "b\nc\nd\nE\n");
    const std::string changed = line.substr(0, 15000) + "CHANGED" + line.substr(15000);
    write_file("theirs", "a\n" + changed + "b\nc\nd\ne\n");
    const std::string shown = on_terminal("diff --no-pager base theirs").out;
    EXPECT_NE(
        shown.find("..." + line.substr(14960, 40) + "CHANGED" + line.substr(15000, 40) + "..."),
        std::string::npos)
        << shown;
    EXPECT_LT(shown.size(), 500U);
    const std::string beside = on_terminal("diff --no-pager -y base theirs").out;
    EXPECT_NE(beside.find(line.substr(14990, 10) + "CHANGED"), std::string::npos) << beside;
    write_file("theirs", "a\n}" + line + "b\nc\nd\ne\n");
    EXPECT_EQ(tdm("merge base ours theirs").status, 1);
    for (const char *text : {"base", "ours", "base"}) {
        tdm("create c");
        ASSERT_EQ(tdm({"checkin", "--no-base", "c", text}).status, 0);
    }
    const std::string blamed = tdm("annotate c").out;
    EXPECT_TRUE(blamed.starts_with("main@1 ") && blamed.find("\nmain@3 ") != std::string::npos);
    EXPECT_EQ(count_lines(blamed), 6U);
    EXPECT_GT(count_lines(tdm("annotate --pieces c").out), 20U);
    const std::string log = tdm("log c --oneline").out;
    EXPECT_NE(log.find("+1 -1"), std::string::npos) << log;
    EXPECT_NE(log.find("+6 -0"), std::string::npos) << log;
    EXPECT_NE(tdm("show c main@2").out.find("6 (+1 -1)"), std::string::npos);
    const std::string list = tdm("list c").out;
    EXPECT_NE(list.find("  (long lines)\nmain@3"), std::string::npos) << list;
    EXPECT_NE(tdm("list c --json").out.find("\"long_lines\": true"), std::string::npos);
    write_file("nul", line + std::string("\0", 1) + line);
    expect_told(tdm("diff base nul"), 2, "nul:2: is no line of text: byte 1 is NUL");
    expect_told(tdm("checkin c nul --no-base"), 2, "nul:2: is no line of text: byte 1 is NUL");
    write_file("quoted", "a\n^" + std::string(7999, 'x') + "\n");
    expect_told(tdm("checkin c quoted --no-base"), 2, "quoted:2: is no line of text: has 8000");
    expect_told(tdm("diff --blocks base ours"), 2, "the longest line may have 8000");
}

}  // namespace
