// The commands that look into a container: what they print.
#include <gtest/gtest.h>
#include <unistd.h>

#include <regex>
#include <sstream>

#include "run_command.h"
#include "terminal_run.h"

namespace {

const command_options dated{.environment = {"SOURCE_DATE_EPOCH=1700000000"}};

// Random identifiers, short or whole, and digests do not depend on the texts alone.
std::string without_identifiers(const std::string &text) {
    const std::string whole = std::regex_replace(text, std::regex("[0-9a-f]{32}"), "IDENTIFIER");
    return std::regex_replace(whole, std::regex(" [0-9a-f]{8} "), " SHORTID. ");
}

// Branches side by side, one in the other, and a deleted version that stays.
class inspection : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(tdm("create c", dated).status, 0);
        store("a\nb\nc\n", {});
        store("a\nx\ny\nc\n", {});
        store("a\nb\nc\ndraft\n", {"--branch", "draft", "--from", "main@1"});
        store("a\n^q\nc\n", {});
        store("deep", {"--branch", "deep", "--from", "draft@1"});
        store("b\n", {"--branch", "draft"});
        store("a\n", {"--branch", "side", "--from", "main@2"});
        store("a\nlast\n", {});
        ASSERT_EQ(tdm("delete c main@2 --yes -q").status, 0);
    }

    static void store(const std::string &text, std::vector<std::string> more) {
        write_file("t", text);
        more.insert(more.begin(), {"checkin", "c", "t", "-q", "--no-base"});
        ASSERT_EQ(tdm(more, dated).status, 0);
    }

    const scratch_folder folder_;
};

TEST_F(inspection, listings_are_as_documented) {
    const std::pair<const char *, const char *> rows[] = {
        {"log.txt", "log c"},
        {"log-oneline.txt", "log c --oneline --reverse --color always"},
        {"log-branch.txt", "log c --branch main -n 2"},
        {"log.json", "log c --json"},
        {"show.txt", "show c main@3"},
        {"show-first.txt", "show c main@0"},
        {"info.txt", "info c"},
        {"verify.json", "verify c --json"},
    };
    for (const auto &[golden, words] : rows) {
        expect_golden(golden, without_identifiers(tdm(words, dated).out));
    }
}

TEST_F(inspection, show_counts_lines_as_log_does) {
    store("b\nc\nb\n", {});
    store("c\na\nc\nb\nd\n", {});
    EXPECT_NE(tdm("show c").out.find(" 5 (+5 -3 stored, +3 -1 shown)\n"), std::string::npos);
    EXPECT_NE(tdm("log c -n1").out.find(" +5 -3 5 lines\n"), std::string::npos);
}

TEST_F(inspection, log_cuts_long_names_to_the_width_of_a_terminal) {
    if (!has_terminals()) {
        GTEST_SKIP() << "needs a pseudo terminal";
    }
    const std::string name(60, 'n');
    write_file("t", "t\n");
    ASSERT_EQ(tdm({"checkin", "c", "t", "--branch", name, "--from", "main@1", "--no-base"}).status,
              0);
    EXPECT_NE(tdm("log c").out.find(name + "@1"), std::string::npos);
    std::istringstream seen(on_terminal("log c --no-pager --color=never", "none", {}).seen);
    int lines = 0;
    for (std::string line; std::getline(seen, line); ++lines) {
        const bool has_branches = line.find('[') != std::string::npos;
        EXPECT_LE(line.size(), has_branches ? 140U : 101U) << line;
    }
    EXPECT_GT(lines, 4);
}

TEST_F(inspection, nobody_is_asked_where_no_input_is_wanted) {
    if (!has_terminals()) {
        GTEST_SKIP() << "needs a pseudo terminal";
    }
    const std::string before = read_file("c");
    for (const std::string command : {"delete", "purge"}) {
        const terminal_result result = on_terminal(command + " c main@4 --no-input", "? ", {"yes"});
        EXPECT_EQ(result.status, 2) << command;
        EXPECT_NE(result.seen.find("--yes"), std::string::npos) << result.seen;
        EXPECT_EQ(read_file("c"), before) << command;
    }
}

TEST_F(inspection, trouble_is_told_by_status_and_words) {
    write_file("damaged", read_file("c") + "stray\n");
    struct {
        const char *words;
        int status;
        const char *err;
    } const rows[] = {
        {"verify c", 0, ""},
        {"verify -q c", 0, ""},
        {"verify damaged c", 1, "tdm: damaged:38: 1 line outside every inserted run\n"},
        {"verify c none", 2, "tdm: none: cannot be read: No such file or directory\n"},
        {"verify .", 2, "tdm: .: cannot be read: Is a directory\n"},
        {"log damaged", 2, "tdm: damaged:38:"},
        {"log damaged --damaged", 0, "tdm: damaged:38:"},
        {"log c --branch none", 2, "has no branch none"},
        {"show c main@2", 2, "version main@2 is deleted"},
        {"info none", 2, "No such file"},
        {"dump none", 2, "No such file"},
        {"purge c main", 2, "--yes"},
        {"repair damaged", 2, "-o FILE is missing"},
        {"repair damaged -o damaged --force", 2, "is the same file"},
    };
    for (const auto &row : rows) {
        const command_result result = tdm(row.words);
        EXPECT_EQ(result.status, row.status) << row.words;
        EXPECT_NE(result.err.find(row.err), std::string::npos) << result.err;
        EXPECT_EQ(result.err.empty(), *row.err == '\0') << result.err;
    }
    EXPECT_EQ(tdm("verify -q c").out, "");
    EXPECT_EQ(tdm("info c -o listing").status, 0);
    EXPECT_EQ(read_file("listing"), tdm("info c").out);
    const command_options full{.output_path = "/dev/full"};
    for (const char *command : {"log", "info", "dump", "verify", "show"}) {
        EXPECT_EQ(tdm({command, "c"}, full).status, 2) << command;
    }
}

TEST_F(inspection, what_is_changed_while_it_is_read_is_told) {
    std::string text;
    for (int i = 0; i < 40000; i++) {
        text += "line " + std::to_string(i) + "\n";
    }
    write_file("text", text);
    ASSERT_EQ(tdm("create long").status, 0);
    ASSERT_EQ(tdm("checkin long text").status, 0);
    const std::string bytes = read_file("long");
    for (const std::string words : {"checkout", "annotate", "annotate --raw", "dump", "show"}) {
        // The pipe takes less than the text: the command is still at it.
        const std::string line = std::string(TDM_COMMAND) + " " + words + " long 2>told";
        FILE *const out = popen(line.c_str(), "r");
        EXPECT_NE(fgetc(out), EOF);
        usleep(20000);
        write_file("long", bytes);
        while (fgetc(out) != EOF) {
        }
        EXPECT_EQ(WEXITSTATUS(pclose(out)), 2) << words;
        EXPECT_EQ(read_file("told"), "tdm: long: was changed while it was read\n") << words;
    }
}

}  // namespace
