// The frame: what is said to right and wrong command lines, and where.
#include "commands.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>

#include "columns.h"
#include "escaped_text.h"
#include "output.h"
#include "pager.h"
#include "run_command.h"
#include "terminal.h"

namespace {

TEST(frame, wrong_usage_is_told_in_one_line_and_gives_2) {
    const std::pair<const char *, const char *> rows[] = {
        {"", "no command given (see 'tdm -h')"},
        {"chekin", "unknown command 'chekin'; did you mean 'checkin'? (see 'tdm -h')"},
        {"--verion", "unknown option '--verion'; did you mean '--version'? (see 'tdm -h')"},
        {"xyzzy", "unknown command 'xyzzy' (see 'tdm -h')"},
        {"checkin --form=x a b",
         "unknown option '--form'; did you mean '--from'? (see 'tdm checkin -h')"},
        {"checkin a", "operand FILE is missing (see 'tdm checkin -h')"},
        {"list a b\x1b", "one operand too many: 'b\\e' (see 'tdm list -h')"},
        {"--version a", "one operand too many: 'a' (see 'tdm -h')"},
        {"help list a", "one operand too many: 'a' (see 'tdm -h')"},
        {"list a --branch", "--branch: 1 required TEXT missing (see 'tdm list -h')"},
        {"list -- a --json", "one operand too many: '--json' (see 'tdm list -h')"},
        {"list -", "a container is a file, never standard input (./- is one) (see 'tdm list -h')"},
        {"checkin --lock-timeout nan a b",
         "--lock-timeout: not a number of seconds from 0 to 1e9 (see 'tdm checkin -h')"},
        {"diff --word --stat a b", "--stat excludes --word (see 'tdm diff -h')"},
        {"diff -W 40 a b", "--width requires --side-by-side (see 'tdm diff -h')"},
        {"log --oneline --json c", "--oneline excludes --json (see 'tdm log -h')"},
        {"merge a b --mq 1 --strict -o c", "--strict excludes --mq (see 'tdm merge -h')"},
        {"merge a b --mq 1 --json -o c", "--mq excludes --json (see 'tdm merge -h')"},
        {"checkout a --dry-run",
         "--dry-run needs -o FILE: nothing else is replaced (see 'tdm checkout -h')"},
        {"diff -q --json a b", "--json excludes --quiet (see 'tdm diff -h')"},
        {"diff --brief --no-moves a b", "--brief excludes --no-moves (see 'tdm diff -h')"},
        {"diff --damaged a b", "--damaged requires --container (see 'tdm diff -h')"},
        {"diff --label 1 --label 2 --label 3 a b", "more labels than files (see 'tdm diff -h')"},
        {"checkin a b --from c", "--from requires --branch (see 'tdm checkin -h')"},
        {"repair a -o -",
         "a container is a file, never standard output (./- is one) (see 'tdm repair -h')"},
        {"create a --time 2024-05-01",
         "'2024-05-01' is no time: give @SECONDS since 1970 or 2024-05-01T12:30:00Z (or +02:00)"},
    };
    const scratch_folder folder;
    for (const auto &[words, said] : rows) {
        const command_result result = tdm(words);
        EXPECT_EQ(result.err, "tdm: " + std::string(said) + "\n");
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.status, 2);
    }
    EXPECT_EQ(tdm({"checkout", "a", ""}).err,
              "tdm: operand VERSION is empty (see 'tdm checkout -h')\n");
    EXPECT_EQ(tdm({"list", "a", "--branch", ""}).err,
              "tdm: --branch needs a value (see 'tdm list -h')\n");
    EXPECT_TRUE(files_in(".").empty());
}

TEST(frame, help_of_every_command_is_on_standard_output) {
    for (const norvik::command_entry &entry : norvik::command_table()) {
        const command_result brief = tdm({entry.name, "-h"});
        const command_result full = tdm({entry.name, "--help"});
        EXPECT_EQ(brief.status + full.status, 0) << entry.name;
        EXPECT_EQ(tdm({"--help", entry.name}).out, full.out);
        EXPECT_EQ(brief.err + full.err, "") << entry.name;
        EXPECT_TRUE(brief.out.starts_with(std::string("Usage: tdm ") + entry.name)) << brief.out;
        EXPECT_NE(brief.out.find("Examples:\n  tdm "), std::string::npos) << brief.out;
        EXPECT_NE(full.out.find("Exit codes: 0"), std::string::npos) << full.out;
        std::istringstream lines(full.out);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), 79U) << line;
        }
    }
}

TEST(frame, working_directory_is_no_place_for_libraries) {
    const scratch_folder folder;
    write_file("libc.so.6", "not a library");
    EXPECT_TRUE(tdm("--version").out.starts_with("tdm "));
}

TEST(frame, full_device_is_noticed) {
    const scratch_folder folder;
    write_file("a", "text\n");
    ASSERT_EQ(tdm("create c").status, 0);
    ASSERT_EQ(tdm("checkin c a").status, 0);
    const command_options full{.output_path = "/dev/full"};
    for (const char *words : {"--version", "--help", "list c", "checkout c", "annotate c"}) {
        expect_told(tdm(words, full), 2, "No space left");
    }
    const std::string tail = ", but <stdout> could not be written: No space left on device\n";
    EXPECT_EQ(tdm("import c a a --allow-same", full).err,
              "tdm: main@2 to main@3 are stored" + tail);
    EXPECT_EQ(tdm("delete c main@3 --yes", full).err,
              "tdm: main@3: would be deleted, its lines would be gone from the file\n"
              "tdm: c: the deletion is done" +
                  tail);
    EXPECT_EQ(tdm("checkout c main@2").out, "text\n");
}

TEST(frame, any_name_works_and_is_shown_escaped) {
    const scratch_folder folder;
    write_file("t", "x\n");
    for (const std::string name : {"-c", "a b", "a\nb", "[a,b]", "{}", "%%", "\xff\x1b[1m"}) {
        EXPECT_EQ(tdm({"create", "--", name}).status, 0) << name;
        EXPECT_EQ(tdm({"import", "-q", "--", name, "t"}).err, "") << name;
        EXPECT_EQ(tdm({"checkout", "--", name}).out, "x\n") << name;
    }
    EXPECT_EQ(tdm({"create", "\xff\x1b[1m"}).err, "tdm: \\xff\\e[1m: exists already\n");
}

TEST(frame, no_name_steers_a_terminal) {
    const scratch_folder folder;
    const std::string name = "x\xc2\x9by";
    write_file(name, "a\n");
    EXPECT_EQ(tdm({"create", "c", "--branch", name}).status, 0);
    EXPECT_EQ(tdm({"checkin", "c", name, "--no-base"}).status, 0);
    for (const std::string &words : {"diff --no-pager /dev/null " + name, "purge c " + name}) {
        const command_result shown = on_terminal(words, "n\n");
        EXPECT_EQ(shown.status, 1);
        EXPECT_EQ(shown.out.find(name), std::string::npos) << shown.out;
        EXPECT_NE(shown.out.find("x\\u{9b}y"), std::string::npos) << shown.out;
    }
}

TEST(frame, what_is_written_too_late_is_missed) {
    const auto late = [] {
        norvik::finish_standard_output();
        norvik::standard_output().write("late");
        _exit(norvik::finish_standard_output());
    };
    EXPECT_EXIT(late(), testing::ExitedWithCode(2), "tdm: <stdout>: cannot write");
}

TEST(frame, colour_follows_option_before_environment) {
    using norvik::color_choice;
    const struct {
        color_choice choice;
        const char *variable, *value;
        bool expected;
    } rows[] = {
        {color_choice::automatic, "CLICOLOR_FORCE", "1", true},
        {color_choice::automatic, "CLICOLOR_FORCE", "0", false},
        {color_choice::never, "CLICOLOR_FORCE", "1", false},
        {color_choice::always, "NO_COLOR", "1", true},
        {color_choice::always, "TERM", "dumb", true},
    };
    const int no_terminal = 0;
    for (const auto &r : rows) {
        setenv(r.variable, r.value, 1);
        EXPECT_EQ(norvik::use_color(r.choice, no_terminal), r.expected) << r.variable << r.value;
        unsetenv(r.variable);
    }
    setenv("CLICOLOR_FORCE", "1", 1);
    setenv("NO_COLOR", "1", 1);
    EXPECT_FALSE(norvik::use_color(color_choice::automatic, no_terminal));
    setenv("NO_COLOR", "", 1);
    EXPECT_TRUE(norvik::use_color(color_choice::automatic, no_terminal));
    unsetenv("NO_COLOR");
    unsetenv("CLICOLOR_FORCE");
}

TEST(escaping, shows_what_a_terminal_would_obey) {
    const struct {
        const char *text, *as_name, *as_text;
    } rows[] = {
        {"plain \xc3\xa4", "plain \xc3\xa4", "plain \xc3\xa4"},
        {"a\tb\\c\n", "a\\tb\\\\c\\n", "a\tb\\c\n"},
        {"a\nb", "a\\nb", "a\\nb"},
        {"\x1b[31m\x7f\r", "\\e[31m\\x7f\\r", "\\e[31m\\x7f\\r"},
        {"\xff\xc3", "\\xff\\xc3", "\\xff\\xc3"},
        {"\xc0\xaf\xed\xa0\x80", "\\xc0\\xaf\\xed\\xa0\\x80", "\\xc0\\xaf\\xed\\xa0\\x80"},
        {"\xc2\x9b\xe2\x80\xae", "\\u{9b}\\u{202e}", "\\u{9b}\\u{202e}"},
    };
    for (const auto &r : rows) {
        EXPECT_EQ(norvik::escape_name(r.text), r.as_name);
        EXPECT_EQ(norvik::escape_text(r.text), r.as_text);
    }
}

TEST(columns, lines_are_made_to_fit) {
    const std::pair<std::string, std::string> rows[] = {
        {"ab\n", "ab    "},
        {"abcdef", "abcdef"},
        {"abcdefg", "abcde>"},
        {"\tx", "     >"},
        {"a\x1b\n", "a\\e   "},
        {"\u00e4\u00f6\n", "\u00e4\u00f6    "},
        {"", "      "},
        {"abcde\u00e4\u00f6", "abcde>"},
        {"\u4e2d\u6587\n", "\u4e2d\u6587  "},
        {"abcd\u4e2d\u6587", "abcd >"},
        {"abcde\u4e2d", "abcde>"},
        {"e\u0301\u4e2d\n", "e\u0301\u4e2d   "},
    };
    for (const auto &[line, fitted] : rows) {
        EXPECT_EQ(norvik::fit_column(line, 6), fitted);
    }
}

}  // namespace
