// The commands that look into a container: what they print.
#include <gtest/gtest.h>
#include <unistd.h>

#include <regex>
#include <sstream>

#include "run_command.h"

namespace {

const command_options dated{.environment = {"SOURCE_DATE_EPOCH=1700000000"}};

// Random identifiers, short or whole, and digests do not depend on the texts alone.
std::string comparable(const std::string &text) {
    return std::regex_replace(without_identifiers(text), std::regex(" [0-9a-f]{8} "), " SHORTID. ");
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
        {"json/log.json", "log c --json"},
        {"show.txt", "show c main@3"},
        {"show-first.txt", "show c main@0"},
        {"info.txt", "info c"},
        {"json/verify.json", "verify c --json"},
    };
    for (const auto &[golden, words] : rows) {
        expect_golden(golden, comparable(tdm(words, dated).out));
    }
}

TEST_F(inspection, show_counts_lines_as_log_does) {
    store("b\nc\nb\n", {});
    store("c\na\nc\nb\nd\n", {});
    EXPECT_NE(tdm("show c").out.find(" 5 (+3 -1)\n"), std::string::npos);
    EXPECT_NE(tdm("log c -n1").out.find(" +3 -1 5 lines\n"), std::string::npos);
}

TEST_F(inspection, log_cuts_long_names_to_the_width_of_a_terminal) {
    const std::string name(60, 'n');
    write_file("t", "t\n");
    ASSERT_EQ(tdm({"checkin", "c", "t", "--branch", name, "--from", "main@1", "--no-base"}).status,
              0);
    EXPECT_NE(tdm("log c").out.find(name + "@1"), std::string::npos);
    std::istringstream seen(on_terminal("log c --no-pager --color=never").out);
    int lines = 0;
    for (std::string line; std::getline(seen, line); ++lines) {
        const bool has_branches = line.find('[') != std::string::npos;
        EXPECT_LE(line.size(), has_branches ? 140U : 101U) << line;
    }
    EXPECT_GT(lines, 4);
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
        {"verify --digests damaged c", 2, "damaged: is not what 'tdm verify --json' prints"},
        {"diff --git c c", 2, "takes the seven operands"},
        {"config none", 2, "unknown program 'none'; there is git"},
        {"merge c c c --label=1 --label=2 --label=3 --label=4", 2, "more labels than files"},
        {"repair damaged", 2, "-o FILE is missing"},
        {"repair damaged -o damaged --force", 2, "is the same file"},
    };
    for (const auto &row : rows) {
        expect_told(tdm(row.words), row.status, row.err);
    }
    EXPECT_EQ(tdm("verify -q c").out, "");
    EXPECT_EQ(tdm("info c -o listing").status, 0);
    EXPECT_EQ(read_file("listing"), tdm("info c").out);
    const command_options full{.output_path = "/dev/full"};
    for (const char *command : {"log", "info", "dump", "verify", "show"}) {
        EXPECT_EQ(tdm({command, "c"}, full).status, 2) << command;
    }
}

// A line that begins with "$ " is run, together with those behind it that begin with "> ", and
// prints what follows.
TEST_F(inspection, scripts_print_what_is_written_down) {
    write_file("head", "^S db1 0\n^V v0 0 0 0\n^B main 0 0 0\n^E e\n");
    std::istringstream written(read_file(TDM_SOURCE_DIR "/tests/golden/scripts.txt"));
    std::string printed;
    for (std::string line, script; std::getline(written, line);) {
        if (line.starts_with("$ ") || line.starts_with("> ")) {
            printed += line + "\n";
            script += line.substr(2) + "\n";
            printed += written.peek() == '>' ? "" : shell(std::exchange(script, "")).out;
        }
    }
    EXPECT_GT(printed.size(), 1000U);
    expect_golden("scripts.txt", printed);
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
