// The history commands end to end: what they store, what they refuse, what they print.
#include <gtest/gtest.h>

#include <random>
#include <regex>

#include "run_command.h"
#include "small_texts.h"

namespace {

const command_options dated{
    .environment = {"SOURCE_DATE_EPOCH=1700000000", "TZ=Asia/Tokyo", "LC_ALL=de_DE.UTF-8"}};

// What follows the element record.
std::string weave_of(const std::string &container) {
    const std::string bytes = read_file(container);
    return bytes.substr(bytes.find('\n', bytes.find("\n^E ") + 1) + 1);
}

// A container with three versions on main, and a branch with two.
class history : public testing::Test {
protected:
    void SetUp() override {
        write_file("t1", "a\nb\nc\n");
        write_file("t2", "a\nB\nc\n^d");
        write_file("t3", "a\nc\ne\n");
        write_file("u1", "a\nb\nx\n");
        ASSERT_EQ(tdm("create c", dated).out, "main@0\n");
        ASSERT_EQ(tdm("checkin c t1", dated).out, "main@1\n");
        ASSERT_EQ(tdm("checkin c t2 --time 2023-11-15T00:00+01:00").out, "main@2\n");
        ASSERT_EQ(tdm("checkin c t3", dated).out, "main@3\n");
        ASSERT_EQ(tdm("checkin c u1 --branch dev --from main@1", dated).out, "dev@1\n");
        ASSERT_EQ(tdm("branch c fix dev", dated).out, "fix@0\n");
    }

    const scratch_folder folder_;
};

TEST_F(history, listings_are_as_documented) {
    expect_golden("list.txt", without_identifiers(tdm("list c", dated).out));
    expect_golden("json/list.json", without_identifiers(tdm("list c --json", dated).out));
    expect_golden("annotate.txt", tdm("annotate c", dated).out);
    expect_golden("annotate-all.txt", tdm("annotate c --all main@2", dated).out);
    EXPECT_EQ(without_identifiers(tdm("annotate c --raw --deleted").out),
              "I IDENTIFIER a\nD IDENTIFIER,IDENTIFIER b\nD IDENTIFIER,IDENTIFIER B\n"
              "I IDENTIFIER c\nD IDENTIFIER,IDENTIFIER ^d\nI IDENTIFIER e\n");
    expect_golden("json/annotate.json",
                  without_identifiers(tdm("annotate c --json --deleted", dated).out));
    const std::string all = tdm("annotate c", dated).out;
    const std::string first = all.substr(0, all.find('\n') + 1);
    const std::pair<const char *, std::string> ranges[] = {
        {"1,1", first},
        {"1,+1 -L 1", all},
        {"/c/", all.substr(first.size())},
        {"/^[a]$/,/c/ -L /E|e/,9", all},
        {"2,-2 -L /e/ -L 1", all},
        {"3,1", all},
        {"4", "tdm: main@3: has only 3 lines\n"},
        {"/a/ -L /a/", "tdm: main@3: no line behind line 3 matches /a/\n"},
        {"/[/", "tdm: main@3: '[' is no regular expression: Invalid regular expression\n"},
        {"0,2",
         "tdm: main@3: '0,2' is no range of lines: give FROM,TO as numbers, /REGEX/, or +N behind "
         "the comma\n"},
    };
    for (const auto &[range, lines] : ranges) {
        const command_result result = tdm((std::string("annotate c -L ") + range).c_str(), dated);
        EXPECT_EQ(result.out + result.err, lines) << range;
    }
    ASSERT_EQ(tdm("delete c main@1 --yes").status, 0);
    EXPECT_EQ(tdm("annotate c main@3").out,
              "main@1 (deleted)  2023-11-14T22:13:20Z  1  a\n"
              "main@1 (deleted)  2023-11-14T22:13:20Z  2  c\n"
              "main@3            2023-11-14T22:13:20Z  3  e\n");
}

TEST_F(history, refuses_what_would_not_be_a_history) {
    write_file("binary", std::string("a\0b\n", 4));
    const std::string x100(100, 'x'), a32(32, 'a');
    const std::pair<std::string, const char *> rows[] = {
        {"checkin c t1 --branch new", "(--from VERSION starts it)"},
        {"checkin c t2 --branch dev --from main", "exists already"},
        {"checkin c t1 --from main", "--from requires --branch"},
        {"branch c b main@4", "main@4"},
        {"branch c main main", "exists already"},
        {"branch c a@1 main", "'@'"},
        {"create n --branch " + x100, "100 bytes"},
        {"create n --branch=", "--branch"},
        {"create n --branch " + a32, "identifier"},
        {"checkout c abc", "4 characters at least"},
        {"checkout c ab\x1b"
         "cd",
         "version ab\\ecd"},
        {"checkin c binary", "no line of text"},
        {"import c t1 binary", "no line of text"},
        {"import c t1 ./c", "is the same file"},
        {"import c t1 nowhere", "No such file"},
        {"checkin c .", "directory"},
        {"import c --from-list t1", "tdm: t1:1: not a name"},
        {"import c --from-list t1 --time @5", "LIST has its own times"},
        {"import c", "no files"},
        {"checkout t1", "tdm: t1:1: "},
    };
    const std::string before = read_file("c");
    for (const auto &[words, said] : rows) {
        expect_told(tdm(words.c_str()), 2, said);
        EXPECT_EQ(read_file("c"), before) << words;
    }
    expect_told(tdm({"branch", "c", "a b", "main"}), 2, "blank");
}

TEST_F(history, equal_text_stores_nothing_unless_asked) {
    const std::string before = read_file("c");
    for (const char *words :
         {"checkin c t3", "import c t3 t3", "checkin c t1 --branch new --from main@1"}) {
        expect_told(tdm(words), 1, "nothing to store");
        EXPECT_EQ(read_file("c"), before);
    }
    EXPECT_EQ(tdm("checkin c t3 --allow-same").out, "main@4\n");
    EXPECT_EQ(tdm("import c t3 t3 --allow-same").out, "main@5\nmain@6\n");
    EXPECT_EQ(tdm("checkout c main@5").out, "a\nc\ne\n");
}

TEST_F(history, numbers_stand_above_deleted_ones) {
    std::string bytes = read_file("c");
    const size_t newest = bytes.find("^V ", bytes.find(" 0 3 ") - 36);
    bytes.insert(newest, "^#");
    write_file("c", bytes);
    ASSERT_NE(tdm("list c").out.find("(deleted)"), std::string::npos);
    EXPECT_EQ(tdm("branch c b main@3").status, 2);
    EXPECT_EQ(tdm("checkin c t1 --no-base").out, "main@4\n");
    EXPECT_EQ(tdm("checkout c").out, "a\nb\nc\n");
}

TEST_F(history, numbers_do_not_begin_again_when_they_are_used_up) {
    const std::string head = "^S db1 fffffffffffffffe\n";
    const std::string rest = "^V v1 0 fffffffffffffffc 0\n^V v0 0 0 0\n^B main 0 0 0\n^E e\n";
    write_file("c", head + rest);
    const std::pair<const char *, const char *> rows[] = {
        {"import c t1 t2 t3", "branch main has no number left"},
        {"branch c b main", "no number is left for a new branch"},
        {"checkin c t1 --branch b --from main", "no number is left for a new"},
    };
    for (const auto &[words, said] : rows) {
        expect_told(tdm(words), 2, said);
        EXPECT_EQ(read_file("c"), head + rest);
    }
    const std::string last = "main@18446744073709551614\n";
    EXPECT_EQ(tdm("import c t1 t2").out, "main@18446744073709551613\n" + last);
    EXPECT_EQ(tdm("checkin c t3").status, 2);
    EXPECT_EQ(tdm("checkout c").out, "a\nB\nc\n^d");
    write_file("c", "^S db1 0\n^V v 1 0 0\n^B b 1 0 0\n" + rest);  // 1 is not named as in use
    EXPECT_EQ(tdm("branch c b2 main").status, 2);
}

TEST_F(history, default_branch_is_main_or_the_only_one) {
    ASSERT_EQ(tdm("create d --branch trunk").status, 0);
    EXPECT_EQ(tdm("checkin d t1").out, "trunk@1\n");
    ASSERT_EQ(tdm("branch d second trunk").status, 0);
    expect_told(tdm("checkin d t2"), 2, "which branch?");
    EXPECT_EQ(tdm("checkin d t2 --branch second").out, "second@1\n");
}

TEST_F(history, text_may_come_from_standard_input_or_a_pipe) {
    EXPECT_EQ(tdm("checkin c -", {.input = "from\nstdin"}).out, "main@4\n");
    EXPECT_EQ(tdm("checkout c -o -").out, "from\nstdin");
    EXPECT_EQ(shell("$TDM checkin c <(echo from pipe)").out, "main@5\n");
    EXPECT_EQ(tdm("checkout c").out, "from pipe\n");
    EXPECT_EQ(shell("echo 1 | $TDM import c - t1 <(echo 2) && $TDM checkout c main@6").out,
              "main@6\nmain@7\nmain@8\n1\n");
    EXPECT_EQ(tdm("checkout c").out, "2\n");
    EXPECT_EQ(
        shell("$TDM diff <(echo 1) <(echo 1) && $TDM merge <(echo 1) <(echo 1) <(echo 2)").out,
        "2\n");
    for (const std::string words : {"- -", "/dev/stdin - ", "--from-list - /dev/stdin"}) {
        EXPECT_EQ(shell("echo 1 | $TDM import c " + words).status, 2) << words;
    }
}

// What a name leads to can change between two openings.
TEST_F(history, no_file_is_opened_twice_by_its_name) {
    const std::pair<const char *, std::vector<std::string>> rows[] = {
        {"checkin c t1 --no-base", {"c", "t1"}},
        {"import c t2 t3", {"c", "t2", "t3"}},
        {"checkin c u1 --base main@2 --merge --update", {"c"}},
        {"branch c b main", {"c"}},
        {"delete c main@1 --yes", {"c"}},
        {"purge c main@2 --yes", {"c"}},
        {"checkout c -o out", {"c"}},
        {"annotate c", {"c"}},
        {"repair c -o new", {"c"}},
        {"verify c --digests digests", {"c", "digests"}},
        {"diff t1 t2", {"t1", "t2"}},
        {"diff -c c main@0", {"c"}},
        {"merge t1 t2 u1 -o merged", {"t1", "t2", "u1"}},
    };
    write_file("digests", tdm("verify c --json").out);
    for (const auto &[words, names] : rows) {
        const std::string traced = "strace -f -qq -o trace -e trace=open,openat $TDM ";
        EXPECT_LT(shell(traced + words).status, 2) << words;
        const std::string trace = read_file("trace");
        for (const std::string &name : names) {
            const std::regex opening("[\"/]" + name + "\", ");
            const std::sregex_iterator found(trace.begin(), trace.end(), opening);
            EXPECT_EQ(std::distance(found, {}), 1) << words << ": " << name << "\n" << trace;
        }
    }
}

TEST_F(history, damaged_container_is_told_with_its_line_and_nothing_is_built_on_it) {
    std::string bytes = read_file("c");
    write_file("c", bytes.substr(0, bytes.size() - 3));
    const std::string cut = read_file("c");
    for (const char *words : {"checkin c t1", "branch c b main", "import c t1", "checkout c",
                              "annotate c", "list c", "info c", "dump c"}) {
        const command_result result = tdm(words);
        EXPECT_EQ(result.status, 2) << words;
        EXPECT_TRUE(std::regex_search(result.err, std::regex("^tdm: c:[0-9]+: "))) << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(read_file("c"), cut);
    }
    const command_result forced = tdm("checkout c main@1 --damaged");
    expect_told(forced, 0, "is damaged; it is read all the same");
    EXPECT_TRUE(forced.out.starts_with("a\nb\n")) << forced.out;
    EXPECT_EQ(tdm("info c --damaged").status + tdm("dump c --damaged").status, 0);
}

TEST(import, stores_the_same_as_checking_in_one_by_one) {
    for (const unsigned seed : seeds(sanitized ? 1 : 5)) {
        text_maker make{.random = std::mt19937(seed), .repeated = 0.5, .quoted = 0.2};
        const scratch_folder folder;
        ASSERT_EQ(tdm("create one").status + tdm("create all").status, 0);
        std::vector<std::string> words = {"import", "-q", "all", "--allow-same"};
        std::vector<std::string> texts = {""};
        for (int i = 1; i <= 25; i++) {
            texts.push_back(make.changed(texts.back()));
            words.push_back("t" + std::to_string(i));
            write_file(words.back(), texts.back());
            ASSERT_EQ(tdm({"checkin", "-q", "one", words.back(), "--allow-same"}).err, "");
        }
        // The second half goes to a branch off the middle of the first.
        const std::vector<std::string> branch = {"--branch", "b", "--from", "main@12"};
        ASSERT_EQ(tdm(words).err, "");
        EXPECT_EQ(weave_of("all"), weave_of("one"));
        words.insert(words.end(), branch.begin(), branch.end());
        ASSERT_EQ(tdm(words).err, "");
        for (int i = 1; i <= 25; i++) {
            const std::string name = "t" + std::to_string(i);
            std::vector<std::string> checkin = {"checkin",      "-q",        "one",      name,
                                                "--allow-same", "--no-base", "--branch", "b"};
            if (i == 1) {
                checkin.insert(checkin.end(), branch.begin() + 2, branch.end());
            }
            ASSERT_EQ(tdm(checkin).err, "");
            for (const char *line : {"main@", "b@"}) {
                const std::string version = line + std::to_string(i);
                EXPECT_EQ(tdm({"checkout", "all", version}).out, texts[static_cast<size_t>(i)])
                    << version;
            }
        }
        EXPECT_EQ(weave_of("all"), weave_of("one"));
    }
}

}  // namespace
