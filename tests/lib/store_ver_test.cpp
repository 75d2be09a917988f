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
