// Check-in: the records it writes, what it refuses, and whole histories against a model that keeps
// every text.
#include <algorithm>
#include <map>

#include "small_texts.h"
#include "support.h"

namespace {

class store_ver : public test::scratch {
protected:
    void SetUp() override {
        file_ = path("c0");
        ASSERT_EQ(tdm_create_elem(1, "el", "main", "v0", file_.c_str()), 0);
    }

    /// Checks `text` in and makes the new container the current one.
    int check_in(const std::string &oid, uint64_t number, const std::string &text,
                 const std::string &branch = "main", const char *base = nullptr,
                 uint64_t predecessor = UINT64_MAX) {
        const std::string next = path("c" + std::to_string(++count_));
        const std::string input = write("text", text);
        const int result =
            tdm_store_ver(7, oid.c_str(), branch.c_str(), number, next.c_str(), nullptr, base,
                          predecessor == UINT64_MAX ? number - 1 : predecessor, file_.c_str(),
                          input.c_str(), 0, &identical_);
        if (result == 0) {
            std::filesystem::remove(file_);
            file_ = next;
        }
        return result;
    }

    [[nodiscard]] std::string weave() const {
        const std::string all = read(file_);
        return all.substr(all.find('\n', all.find("\n^E ") + 1) + 1);
    }

    std::string file_;
    uint32_t identical_ = 0;
    int count_ = 0;
};

TEST_F(store_ver, weaves_the_differences_in) {
    ASSERT_EQ(check_in("v1", 1, "a\nb\nc\n"), 0);
    EXPECT_EQ(weave(), "^I 0 1 3\na\nb\nc\n");
    ASSERT_EQ(check_in("v2", 2, "a\nX\nc\n"), 0);
    EXPECT_EQ(weave(), "^I 0 1 3\na\n^D 0 2 1\nb\n^I 0 2 1\nX\nc\n");
    ASSERT_EQ(check_in("v3", 3, "^top\na\nX\nc\nlast"), 0);
    EXPECT_EQ(weave(),
              "^I 0 3 1\n^Q ^top\n^I 0 1 3\na\n^D 0 2 1\nb\n^I 0 2 1\nX\nc\n^I 0 3 1\n^N last\n");
    ASSERT_EQ(check_in("b1", 1, "a\n", "side", "main", 2), 0);
    EXPECT_EQ(read(file_).substr(0, 34), "^S db1 1\n^V b1 1 1 7\n^B side 1 0 2");
    EXPECT_EQ(construct(file_, "v1"), "a\nb\nc\n");
    EXPECT_EQ(construct(file_, "v2"), "a\nX\nc\n");
    EXPECT_EQ(construct(file_, "v3"), "^top\na\nX\nc\nlast");
    EXPECT_EQ(construct(file_, "b1"), "a\n");
}

TEST_F(store_ver, tells_identical_texts) {
    ASSERT_EQ(check_in("v1", 1, "a\n"), 0);
    EXPECT_EQ(identical_, 0U);
    const std::string before = weave();
    ASSERT_EQ(check_in("v2", 2, "a\n"), 0);
    EXPECT_NE(identical_, 0U);
    EXPECT_EQ(weave(), before);
    ASSERT_EQ(check_in("v5", 5, "a\n", "main", nullptr, 2), 0);
    EXPECT_EQ(identical_, 0U);
}

TEST_F(store_ver, takes_a_changed_line_for_changed_whatever_its_hash) {
    const std::string pad(600, 'p');
    const std::pair<std::string, std::string> colliding[] = {
        {"c\xa0", "b!"}, {"\xc2\xa3\xc2\xa1", "\xc2\xa2\x42\""}};
    uint64_t number = 0;
    for (const auto &[a, b] : colliding) {
        for (const std::string &line : {a, b, a}) {
            const std::string text = "x\n" + line + "\ny\n" + line + "z\n" + pad + "\n";
            ++number;
            ASSERT_EQ(check_in("v" + std::to_string(number), number, text), 0);
            EXPECT_EQ(construct(file_, "v" + std::to_string(number)), text);
        }
    }
}

// More than a reader's buffer of 131072 bytes, which every call goes through.
TEST_F(store_ver, keeps_every_text_of_large_containers) {
    for (const unsigned seed : seeds(4)) {
        text_maker make{
            .random = std::mt19937(seed), .repeated = 0.3, .quoted = 0.2, .doubles = true};
        struct head {
            uint64_t number;
            std::string oid, text;
        };
        std::map<std::string, head> heads{{"main", {0, "v0", joined(make.text(16000))}}};
        std::map<std::string, std::string> texts;
        file_ = path("fresh");
        ASSERT_EQ(tdm_create_elem(1, "el", "main", "v0", file_.c_str()), 0);
        for (uint64_t step = 1; step <= 32; step++) {
            const std::string oid = "v" + std::to_string(step);
            const std::string next = path("next" + std::to_string(step));
            const std::string branch =
                step % 8 == 0
                    ? oid + "b"
                    : std::next(heads.begin(), static_cast<long>(make.below(heads.size())))->first;
            head &newest = heads[branch];
            if (step % 8 == 0) {
                const head &main = heads["main"];
                ASSERT_EQ(tdm_create_branch(1, branch.c_str(), oid.c_str(), next.c_str(), "main",
                                            nullptr, main.number, file_.c_str()),
                          0);
                newest = {0, oid, main.text};
                file_ = next;
            } else {
                newest = {newest.number + 1, oid, make.changed(newest.text)};
                ASSERT_EQ(check_in(oid, newest.number, newest.text, branch), 0);
            }
            texts[oid] = newest.text;
            const std::string old = "v" + std::to_string(1 + make.below(step));
            const bool is_newest = std::any_of(heads.begin(), heads.end(), [&](const auto &entry) {
                return entry.second.oid == old;
            });
            if (step % 3 == 0 && !is_newest) {
                const char *oids[] = {old.c_str()};
                const std::string pruned = next + "pruned";
                ASSERT_EQ(tdm_delete_versions_and_branches(file_.c_str(), pruned.c_str(), 1, oids,
                                                           0, nullptr),
                          0);
                texts.erase(old);
                file_ = pruned;
            }
            ASSERT_GT(std::filesystem::file_size(file_), 131072U);
            for (const auto &[version, text] : texts) {
                ASSERT_TRUE(step % 8 != 0 || construct(file_, version) == text) << version;
            }
        }
    }
}

TEST_F(store_ver, refuses_what_it_could_not_give_back) {
    const std::string longest_quoted = "^" + std::string(7996, 'q') + "\n";
    const struct {
        const char *name;
        std::string text;
        bool good;
    } rows[] = {
        {"longest quoted line", longest_quoted, true},
        {"quoted line too long", "^" + longest_quoted, false},
        {"longest line", std::string(8000, 'x') + "\n", true},
        {"longest last line", std::string(8000, 'x'), true},
        {"longest last line that begins with ^", "^" + std::string(7999, 'x'), true},
        {"last line too long", std::string(8001, 'x'), false},
        {"last line that only the reader's allowance lets pass", "^N " + std::string(8000, 'x'),
         false},
        {"NUL", std::string("a\n\0\n", 4), false},
    };
    uint64_t number = 0;
    for (const auto &row : rows) {
        for (const char *around : {"", "x\n"}) {
            const std::string text = around + row.text;
            const std::string oid = "v" + std::to_string(number + 1);
            test::messages_of(
                [&] { EXPECT_EQ(check_in(oid, number + 1, text), row.good ? 0 : -1) << row.name; });
            if (row.good) {
                EXPECT_EQ(construct(file_, oid), text) << row.name;
                ++number;
            }
        }
    }
}

TEST_F(store_ver, refuses_before_it_writes) {
    ASSERT_EQ(check_in("v1", 1, "a\n"), 0);
    write_file(file_, read_file(file_).insert(9, "^#^V v9 0 9 7\n"));
    const struct {
        const char *oid, *branch, *base;
        uint64_t number;
        std::string message;
    } rows[] = {
        {"v1b", "main", nullptr, 1,
         "Version 0x1 is not the highest on its branch <0x0,0x9> in \"" + file_ + "\"\n"},
        {"v9b", "main", nullptr, 9,
         "Version 0x9 is not the highest on its branch <0x0,0x9> in \"" + file_ + "\"\n"},
        {"vx", "none", "nobase", 1, "Specified branch does not exist\n"},
        {"vx", "none", nullptr, 1, "Specified branch does not exist\n"},
        {"v x", "main", nullptr, 10, "Can't parse malformed object-id v x\n"},
        {"vx", "a b", "main", 1, "Can't parse malformed object-id a b\n"},
    };
    for (const auto &row : rows) {
        const std::string said = test::messages_of(
            [&] { EXPECT_EQ(check_in(row.oid, row.number, "b\n", row.branch, row.base), -1); });
        EXPECT_EQ(said, row.message);
        EXPECT_FALSE(std::filesystem::exists(path("c" + std::to_string(count_))));
    }
    uint32_t identical = 0;
    const std::string text = path("text");
    EXPECT_EQ(test::messages_of([&] {
                  EXPECT_EQ(tdm_store_ver(1, "v", "main", 10, path("no/c").c_str(), nullptr,
                                          nullptr, 1, file_.c_str(), text.c_str(), 0, &identical),
                            2);
                  EXPECT_EQ(tdm_store_ver(1, "v", "main", 10, path("n").c_str(), nullptr, nullptr,
                                          1, path("none").c_str(), text.c_str(), 0, &identical),
                            2);
              }),
              "");
}

}  // namespace
