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
    EXPECT_NE(tdm("show c").out.find(" 5 (+5 -3 stored, +3 -1 shown)\n"), std::string::npos);
    EXPECT_NE(tdm("log c -n1").out.find(" +5 -3 5 lines\n"), std::string::npos);
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

TEST_F(inspection, scripts_get_what_is_written_here) {
    write_file("head", "^S db1 0\n^V v0 0 0 0\n^B main 0 0 0\n^E e\n");
    const std::pair<const char *, const char *> rows[] = {
        {"$TDM list c --branch draft | grep -c ^main", "0\n"},
        {"$TDM show c -U0 | grep -c '^ '", "0\n"},
        {"$TDM show c main@1 | grep '^branch off'", "branch off   draft\n"},
        {"$TDM log c --json --reverse | grep '\"name\"' | tail -1",
         "      \"name\": \"main@4\",\n"},
        {"$TDM delete c main@1 --dry-run 2>&1 | grep -o 'for main@.'", "for main@3\n"},
        {"cp c d; $TDM delete d draft@2 --yes -q", ""},
        {"(head -1 head; for i in 6 5 4 3 2 1; do echo ^V v$i 0 $i 0; done; tail -n +2 head; "
         "for i in 1 2 3 4 5 6; do printf '^I 0 %d 1\\nx\\n' $i; done) >d; "
         "$TDM purge d main@6 --dry-run 2>&1 | grep ': x'",
         "tdm:   main@1, main@2, main@3, main@4 and 1 more: x\n"},
        {"sed '2i^V 12345678b 0 1 0' head | sed '2i^V 12345678a 0 2 0' >d; $TDM log d --oneline",
         "* main@2 12345678a +0 -0 0\n* main@1 12345678b +0 -0 0\n* main@0 v0 +0 -0 0\n"},
        {"sed 's/db1 0/db1 1/; 2i^#^B x 1 0 0' head >d; $TDM list d --json | grep -c '\"off\"'",
         "1\n"},
        {"sed '2i^V a,b 0 1 0' head | sed '2i^V v2 0 2 0' >d; printf '^I 0 1 1\\n^D 0 2 1\\nx\\n' "
         ">>d; "
         "$TDM annotate d --deleted | cut -c 1-9",
         "- main@1 \n"},
        {"(cat head; for i in $(seq 150); do echo ^X; done) >d; $TDM verify d 2>&1 | grep -o "
         "'[0-9]* more'",
         "50 more\n"},
        {"echo 1 >'x y'; echo 'x y @5' >l; cp c d; $TDM import d --from-list l", "main@5\n"},
        {"cp c $'\\xff'; $TDM list $'\\xff' --json | grep _base64",
         "  \"container_base64\": \"/w==\",\n"},
        {"printf 'a_b\\n' >x; printf a_c >y; $TDM diff --word x y | tail -1", "{+a_c+}\n"},
        {"seq 1 50 >x; seq 2 90 >y; $TDM diff --stat x y | grep -c -- '+-$'", "1\n"},
        {"seq 9 >x; (seq 8; echo z) >y; $TDM diff -y -U1 -W 20 x y | grep same",
         "... 7 lines are the same\n"},
        {"printf 'a\\nX\\n1\\nc\\n' >x; printf 'a\\nX\\n2\\nc' >y; printf 'a\\nb\\nc\\n' >b; "
         "$TDM merge --style zdiff3 b x y 2>/dev/null | head -3 | tail -2",
         "X\n<<<<<<< x\n"},
        {"$TDM merge --style merge b x y 2>/dev/null | grep -c '^|||'", "0\n"},
        {"$TDM merge b x y 2>&1 | grep -o 'no newline at the end in y'",
         "no newline at the end in y\n"},
        {"printf 'a\\r\\nX\\r\\n' >x; $TDM merge b x y 2>&1 | grep -o 'their line endings differ'",
         "their line endings differ\n"},
        {"printf '\\033[2J\\n' >t; cp c d; $TDM checkin d t -q --no-base; "
         "script -qec \"$TDM annotate d --no-pager\" /dev/null | grep -o 'e.2J'",
         "e[2J\n"},
        {"script -qec \"$TDM dump d --no-pager\" /dev/null | grep -o 'e.2J'", "e[2J\n"},
        {"GIT_DIFF_PATH_COUNTER=1 $TDM diff a/b", "* Unmerged path a/b\n"},
        {"SOURCE_DATE_EPOCH=x $TDM checkin c x 2>&1",
         "tdm: SOURCE_DATE_EPOCH is not a number of seconds\n"},
        {"f=$'\\001\\\"\\xe2\\x82\\xac\\xf0\\x9f\\x98y\\xed\\xa0\\x80\\xe2\\x82'; cp c \"$f\"; "
         "$TDM list --json \"$f\" | grep '^  .cont'",
         "  \"container\": \"\\u0001\\\"\u20ac\ufffdy\ufffd\ufffd\ufffd\ufffd\",\n"
         "  \"container_base64\": \"ASLigqzwn5h57aCA4oI=\",\n"},
        {"cp c d; script -qec \"$TDM import d t\" /dev/null | grep -c importing", "0\n"},
        {"cp c d; echo n | script -qec \"$TDM delete d main@4\" /dev/null | grep -o 'tdm: "
         "Delete.*]'; cmp c d",
         "tdm: Delete 1 version? [y/N]\n"},
        {"cp c d; echo y | script -qec \"$TDM delete d main@4\" /dev/null >/dev/null; cmp -s c d; "
         "echo $?",
         "1\n"},
        {"cp c d; (sleep 0.4; echo new | $TDM checkin d - -q --lock-timeout 1; echo y; sleep 0.4; "
         "echo n) | script -qec \"$TDM delete d main@4\" /dev/null | "
         "grep -o -e meanwhile -e 'Delete.*?'; $TDM checkout d",
         "Delete 1 version?\nmeanwhile\nDelete 1 version?\nnew\n"},
        {"for c in delete purge; do echo yes | script -qec \"$TDM $c c main@4 --no-input\" "
         "/dev/null | "
         "grep -o -e --yes; done",
         "--yes\n--yes\n"},
        {"TERM=dumb script -qec \"$TDM log c --no-pager\" /dev/null | grep -c $'\\033'", "0\n"},
        {"yes '' | head -200000 >t; $TDM create e -q; $TDM checkin -q e t; set -o pipefail; "
         "$TDM checkout e 2>err | head -c 1; cat err; echo $?; $TDM checkout e | head -c 1; echo "
         "$?",
         "\n0\n\n141\n"},
        {"$TDM branch c br\u00e4nches main -q; $TDM list c | grep ^main@0 | cut -c 1-13; "
         "$TDM annotate c | head -1 | cut -c 1-13",
         "main@0      2\nmain@1      2\n"},
        {"echo a >x; printf '\\033[2J\\r\\n' >y; script -qec \"$TDM diff --no-pager x y\" "
         "/dev/null | "
         "grep -c $'\\033.32m+.e.2J.r\\033.m'",
         "1\n"},
        {"TDM_PAGER='sed s/VERSION/shown/' script -qec \"$TDM list c\" /dev/null | grep -c '^shown "
         " *DATE'",
         "1\n"},
        {"TDM_PAGER=no-such-program script -qec \"$TDM list c\" /dev/null | grep -c '^VERSION  "
         "*DATE'",
         "1\n"},
        {"TDM_PAGER='cat >/dev/null; exit 3' script -qec \"$TDM list c\" t >/dev/null; echo $?; "
         "grep -o 'the pager failed: cat >/dev/null; exit 3' t",
         "2\nthe pager failed: cat >/dev/null; exit 3\n"},
        {"echo 1 >x; echo 2 >y; export GIT_DIFF_PATH_COUNTER=1; GIT_PAGER_IN_USE=true NO_COLOR= "
         "TERM=xterm $TDM diff f x 1 100644 y 2 100644 | grep -c $'\\033'; "
         "$TDM diff --stat f x 1 100644 y 2 100644 | head -1",
         "3\n b/f | 2 +-\n"},
        {"cp c d; mkfifo p; (sleep 1.2; echo z) >p & script -qec \"$TDM import d x p\" /dev/null | "
         "grep -o 'importing .#*[.]*.  25%'",
         "importing [############......................................]  25%\n"},
        {"printf 'a\\033\\n1\\n' >x; printf 'a\\033\\n2\\n' >y; "
         "script -qec \"$TDM diff --word x y --no-pager\" /dev/null | grep -c '^a.e'",
         "1\n"},
        {"for i in 1 2 3 4 5 6 7; do $TDM branch d b$i main -q; done; "
         "$TDM delete d main --dry-run 2>&1 | grep -o '[0-9] more'",
         "2 more\n"},
        {"f=$(printf %0100d 0); sed \"0,/^.V [0-9a-f]*/s//^V $f/\" c >d; "
         "$TDM repair d -o new 2>&1 | grep -o 'renamed: .*damaged'; $TDM verify new 2>&1 | cut -c "
         "1-10",
         "renamed: br\u00e4nches@0 (its identifier is damaged\nnew: sound\n"},
        {"$TDM list c --branch n 2>&1; $TDM import c --from-list n 2>&1; $TDM import c x --time n "
         "2>&1 | grep -o 'is no time'; $TDM merge $(seq 33) 2>&1 | grep -o 'more than 31'",
         "tdm: c: has no branch n\ntdm: n: cannot be opened: No such file or directory\n"
         "is no time\nmore than 31\n"},
        {"PAGER=false TDM_PAGER=cat script -qec \"$TDM list c\" /dev/null | grep -c failed", "0\n"},
    };
    for (const auto &[script, out] : rows) {
        EXPECT_EQ(shell(script).out, out) << script;
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
