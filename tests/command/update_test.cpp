// Nobody undoes what another has stored: what a file was made from, and what may be replaced.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <string>

#include "run_command.h"
#include "system_calls.h"
#include "working_file.h"

namespace {

constexpr const char *attribute = "user.tdm.base";

std::string base_of(const char *file) {
    char value[64];
    const ssize_t size = getxattr(file, attribute, value, sizeof value);
    return {value, size < 0 ? 0 : static_cast<size_t>(size)};
}

// A container of main@1 to main@3, each with one line changed, and files that it knows nothing of.
class update : public testing::Test {
protected:
    void SetUp() override {
        write_file("c", "");
        if (setxattr("c", attribute, "", 0, 0) != 0) {
            GTEST_SKIP() << "no extended attributes here";
        }
        unlink("c");
        ASSERT_EQ(tdm("create c").status, 0);
        for (const char *text : {"1\n2\n3\n4\n5\n", "1\nB\n3\n4\n5\n", "1\nB\n3\n4\nE\n"}) {
            ASSERT_EQ(tdm("checkin c -", {.input = text}).status, 0);
        }
    }

    // A text that is made from main@1, whose line 5 becomes `last`, with more in front.
    static void edit(const char *file, const std::string &last, const std::string &front = "") {
        ASSERT_EQ(tdm({"checkout", "c", "main@1", "-o", file, "--force"}).status, 0);
        write_file(file, front + "1\n2\n3\n4\n" + last);
    }

    const scratch_folder folder_;
};

const std::string newest_text = "1\nB\n3\n4\nE\n";

// While a command runs: f gets another text of the same size and time, so that only the bytes tell.
const std::string changed_unseen =
    "sleep 0.4; cp -p f t; echo X | dd of=f conv=notrunc status=none; touch -r t f; wait $!";

TEST_F(update, checkout_replaces_what_a_version_keeps_and_nothing_else) {
    const std::pair<const char *, bool> rows[] = {{"1\nB\n3\n4\n5\n", true},
                                                  {"", true},
                                                  {"1\nB\n3\n4\n5", false},
                                                  {"1\n2\n3\n4\nE\n", false},
                                                  {"1\nB\n4\n3\n5\n", false}};
    for (const auto &[text, kept] : rows) {
        unlink("f");
        write_file("f", text);
        const command_result result = tdm("checkout c main@1 -o f");
        EXPECT_EQ(result.status, kept ? 0 : 2) << text;
        EXPECT_EQ(result.err.find("no version of c") == std::string::npos, kept) << result.err;
        EXPECT_EQ(read_file("f"), kept ? "1\n2\n3\n4\n5\n" : text);
        EXPECT_EQ(tdm({"checkout", "c", base_of("f")}).out, kept ? read_file("f") : "");
    }
    // The mark names one version, and the text is that of another.
    for (const char *text : {"1\n2\n3\n4\n5\n", "1\nB\n3\n4\n5\n", "1\nB\n3\n4\nE\n", ""}) {
        edit("f", "");
        write_file("f", text);
        EXPECT_EQ(tdm("checkout c -o f").err, "") << text;
    }
    // What only a deleted version has kept is kept no longer.
    write_file("f", "1\nB\n3\n4\nE\n");
    ASSERT_EQ(tdm("delete c main@3 --yes").status, 0);
    EXPECT_EQ(tdm("checkout c -o f").status, 2);
}

TEST_F(update, file_that_may_only_be_read_is_replaced_and_marked) {
    ASSERT_EQ(chmod(".", 0777) + chmod("c", 0644), 0);  // the texts came from a private file
    ASSERT_EQ(tdm("checkout c -o f", {.unprivileged = true}).status, 0);
    chmod("f", 0444);
    expect_told(tdm("checkout c main@1 -o f", {.unprivileged = true}), 0, "");
    EXPECT_EQ(tdm({"checkout", "c", base_of("f")}).out, read_file("f"));
    EXPECT_EQ(mode_of("f"), 0444u);
}

TEST_F(update, text_that_changes_before_the_rename_stays) {
    ASSERT_EQ(tdm("checkout c -o f").status, 0);
    expect_told(shell("$SLOW $TDM checkout c main@1 -o f & " + changed_unseen), 2,
                "changed by somebody else");
    EXPECT_EQ(read_file("f"), "X\nB\n3\n4\nE\n");
}

TEST_F(update, checkin_is_held_against_what_the_file_was_made_from) {
    // A branch without versions, for another one that hangs on it.
    ASSERT_EQ(tdm("checkin c - --branch bare --from main@1", {.input = "x"}).status, 0);
    ASSERT_EQ(tdm("branch c sub bare@1").status + tdm("delete c bare@1 --yes").status, 0);
    ASSERT_EQ(tdm("branch c dev main@1").status, 0);
    ASSERT_EQ(tdm("branch c dev2 dev@0").status, 0);
    const struct {
        std::string words;
        int status;
        const char *said;
    } rows[] = {
        {"", 1, "f: was made from main@1, not from main@3"},
        {"", 1, "tdm: 2 versions came since:\ntdm:   main@3  20"},
        {"", 1, "--merge stores both together, --no-base"},
        {"--base main@2", 1, "tdm: 1 version came since:"},
        {"--base main@3", 0, "main@4"},
        {"--no-base", 0, "main@4"},
        {"--branch dev", 0, "dev@1"},
        {"--branch dev2", 0, "dev2@1"},
        {"--branch dev --base main", 1, "f: was made from main@3, not from dev@0"},
        {"--branch bare", 0, "bare@2"},
        {"--branch bare --base main", 1, "f: was made from main@3, not from main@1"},
        {"--branch new --from main@1", 0, "new@1"},
        {"--branch new --from main@2", 1, "not from main@2"},
        {"--base main@9", 2, "no version main@9"},
        {"--base main --no-base", 2, "exclude each other"},
        {"--merge --no-base", 2, "exclude each other"},
        {"--update", 2, "--update needs --merge"},
    };
    edit("f", "X\n");
    const std::string before = read_file("c");
    for (const auto &r : rows) {
        expect_told(tdm(("checkin c f --dry-run " + r.words).c_str()), r.status, r.said);
    }
    EXPECT_EQ(tdm("checkin c f").status, 1);
    EXPECT_EQ(read_file("c"), before);
    EXPECT_EQ(tdm("checkin c - --merge --update").status, 2);
    EXPECT_EQ(tdm("checkin c - --merge").status, 2);
}

TEST_F(update, mark_follows_what_is_stored_and_foreign_ones_are_told) {
    edit("f", "X\n");
    ASSERT_EQ(tdm("checkin c f --no-base --dry-run").status, 0);
    EXPECT_EQ(tdm("checkin c f").status, 1);
    ASSERT_EQ(tdm("checkin c f --no-base").out, "main@4\n");
    EXPECT_EQ(tdm({"checkout", "c", base_of("f")}).out, read_file("f"));
    write_file("f", "next\n");
    EXPECT_EQ(tdm("checkin c f").out, "main@5\n");
    // A text that is the newest all the same is made from it from now on.
    edit("f", "");
    write_file("f", "next\n");
    expect_told(tdm("checkin c f"), 1, "nothing to store");
    EXPECT_EQ(tdm({"checkout", "c", base_of("f")}).out, "next\n");
    setxattr("f", attribute, "elsewhere", 9, 0);
    write_file("f", "over\n");
    expect_told(tdm("checkin c f"), 0, "version elsewhere, which is not one of c");
    ASSERT_EQ(tdm("checkin c -", {.input = "over\nlines that stay\n"}).out, "main@7\n");
    ASSERT_EQ(tdm("delete c main@6 --yes").status, 0);
    const std::string gone =
        "tdm: f: was made from version " + base_of("f") + ", which has been deleted from c";
    expect_told(tdm("checkin c f --merge"), 2,
                gone + ": no base for a merge (--base VERSION says it)\n");
    expect_told(tdm("checkin c f"), 0,
                gone + "; the mark is passed over, and what came since cannot be told\n");
    setxattr("f", attribute, std::string(300, 'x').data(), 300, 0);
    expect_told(tdm("checkin c f"), 1, std::string(256, 'x') + "..., which is not");
}

TEST_F(update, file_that_cannot_be_marked_is_told_where_it_had_a_mark) {
    const norvik::command_context context;
    write_file("f", "1\n");
    for (const bool marked : {false, true}) {
        norvik::working_file file(context);
        ASSERT_EQ(file.read("f"), norvik::status_done);
        norvik::sys::fault = [](norvik::sys::call which, size_t *) {
            errno = ENOTSUP;
            return which == norvik::sys::call::set_attribute;
        };
        testing::internal::CaptureStderr();
        file.set_base("new");
        norvik::sys::fault = nullptr;
        EXPECT_EQ(testing::internal::GetCapturedStderr().empty(), !marked);
        EXPECT_EQ(base_of("f"), "") << "a wrong one";
        setxattr("f", attribute, "old", 3, 0);
    }
}

TEST_F(update, merge_stores_what_is_clean_and_leaves_conflicts_in_the_file) {
    edit("f", "5\nmine\n", "0\n");  // conflicts with the newest at the end alone
    ASSERT_EQ(tdm("checkin c f --merge").status, 1);
    EXPECT_EQ(read_file("f"), "0\n1\n2\n3\n4\n5\nmine\n");
    ASSERT_EQ(tdm("checkin c f --merge --update").status, 1);
    EXPECT_EQ(read_file("f"),
              "0\n1\nB\n3\n4\n<<<<<<< f\n5\nmine\n||||||| main@1\n5\n=======\nE\n>>>>>>> main@3\n");
    EXPECT_EQ(tdm({"checkout", "c", base_of("f")}).out, newest_text);
    expect_told(tdm("checkin c f --dry-run"), 0, "f:6: a conflict between markers would be");
    ASSERT_EQ(shell("cp c d; $TDM checkin d f -q").status, 0);
    EXPECT_EQ(tdm("checkin d f").err.find("a conflict"), std::string::npos) << "nothing stored";
    expect_told(tdm("checkin c - --base main@1 --merge", {.input = "0\n1\n2\n3\n4\n5\nmine\n"}), 1,
                "nothing is stored\n");

    edit("f", "5\n", "0\n");
    const std::string mark = base_of("f");
    expect_told(tdm("checkin c f --merge --update --dry-run"), 0, "f: would be merged with");
    expect_told(tdm("checkin c f --merge"), 0, "f: keeps its own text");
    EXPECT_EQ(tdm("checkout c main@4").out, "0\n" + newest_text);
    EXPECT_EQ(base_of("f"), mark) << "the file lacks what came since";
    expect_told(tdm("checkin c f --merge --update"), 1, "f: is updated to the text of main@4");
    EXPECT_EQ(read_file("f"), "0\n" + newest_text);
    write_file("f", "0\n" + newest_text + "more\n");
    ASSERT_EQ(tdm("checkin c f --merge --update").out, "main@5\n");
    edit("f", "E\n");
    ASSERT_EQ(chmod("c", 0600) + chmod("f", 0644), 0);
    expect_told(tdm("checkin c f --merge --update"), 1, "f: gets the mode 0600: what it is");
    EXPECT_EQ(mode_of("f"), 0600u);
}

TEST_F(update, marks_what_is_certain_and_tells_what_came_since) {
    write_file("f", newest_text);
    EXPECT_EQ(tdm("checkin c f").status, 1);
    EXPECT_EQ(tdm({"checkout", "c", base_of("f")}).out, newest_text);
    write_file("damaged", read_file("c") + "stray\n");
    EXPECT_EQ(tdm("checkout damaged main@1 --damaged -o g").status, 0);
    EXPECT_EQ(base_of("g"), "");
    edit("f", "X\n");
    const std::string mark = base_of("f");
    shell("$SLOW $TDM checkin c f --no-base & sleep 0.4; echo more >>f; wait $!");
    EXPECT_EQ(base_of("f"), mark);
    EXPECT_EQ(
        shell("for i in $(seq 11); do printf '1\\nB\\n3\\n4\\nE\\n%d\\n' $i | $TDM checkin -q c -; "
              "done; $TDM delete c main@3 --yes -q; $TDM checkin c f 2>&1 | grep -e since: -e more")
            .out,
        "tdm: 13 versions came since:\ntdm:   and 3 more\n");
}

TEST_F(update, file_that_changes_during_a_merge_stays_and_nothing_is_stored) {
    edit("f", "5\n", "0\n");
    const std::string before = read_file("c");
    // The container's lock is held until the file that was read is another one.
    expect_told(shell("flock c sleep 0.8 & sleep 0.2; $TDM checkin -q c f --merge --update & "
                      "sleep 0.2; echo X >f; wait $!"),
                2, "changed by somebody else");
    EXPECT_EQ(read_file("f"), "X\n");
    EXPECT_EQ(read_file("c"), before);
    // So late that it has been stored.
    edit("f", "5\n", "0\n");
    EXPECT_EQ(shell("$SLOW $TDM checkin c f --merge --update & " + changed_unseen).status, 2);
    EXPECT_EQ(read_file("f"), "X\n1\n2\n3\n4\n5\n");
}

}  // namespace
