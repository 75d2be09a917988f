#include <sys/resource.h>

#include <clocale>
#include <csignal>

#include "redirection.h"
#include "session_support.h"

namespace {

// What the merge under test asks, and what it is answered; the callbacks get no pointer of ours.
struct {
    std::string answers;  // one letter a question: y, n, a; no after the last
    std::string asked;    // one item a question: kind, file number, default answer
} dialogue;

uint64_t answer(tdm_session * /*s*/, const diff_block *b, uint64_t default_answer) {
    dialogue.asked += std::string(1, "ucidID"[b->kind]) + std::to_string(b->file_index + 1) +
                      (default_answer == 4 ? "y " : "n ");
    const char given = dialogue.answers.empty() ? 'n' : dialogue.answers[0];
    dialogue.answers.erase(0, 1);
    return given == 'y' ? 4 : given == 'a' ? 1 : 8;
}

class merge : public test::session_test {
protected:
    static constexpr char aborted[] = "(aborted)";

    struct result {
        std::string text, asked, report;
    };

    /// Merges the files; the result's text is `aborted` when the merge failed.
    result run(const test::texts &files, int mq = 0, const std::string &answers = "",
               int source_file = 0) {
        test::session all(write_all(files));
        EXPECT_EQ(all.compare(), 0);
        dialogue = {answers, ""};
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int status = merge_session(all.s, mq, source_file);
        fflush(stdout);
        const std::string report = testing::internal::GetCapturedStdout();
        const std::string told = testing::internal::GetCapturedStderr();
        EXPECT_EQ(std::filesystem::exists(path("out")), status == 0);
        const std::string text = status == 0 ? read(path("out")) : aborted;
        std::filesystem::remove(path("out"));
        return {text, dialogue.asked, report + told};
    }

    int merge_session(tdm_session *s, int mq, int source_file, tdm_ask_proc ask = answer) {
        const std::string out = path("out");
        uint64_t head = 0;
        uint64_t tail = 0;
        EXPECT_EQ(tdm_init_diff_stream(s, &head, &tail), 0);
        merge_report *r =
            tdm_merge_init_report(s, out.c_str(), mq == 1 ? 0 : mq, ask, nullptr, source_file);
        tdm_merge_change_mq(r, mq);
        if (r == nullptr) {
            return 1;
        }
        for (;;) {
            uint32_t end = 0;
            diff_block b{};
            EXPECT_EQ(tdm_get_next_diff(s, &end, &b), 0);
            if (end != 0) {
                return tdm_merge_term(r, 0);
            }
            if (tdm_merge_queue_diff(r, &b) != 0) {
                return tdm_merge_term(r, 1);
            }
        }
    }
};

/// A report written short: "!" and "+" for a decision taken unasked or asked, "=" between regions.
std::string told(std::string_view written) {
    std::string report;
    for (const char c : written) {
        report += c == '!'   ? "*** Automatic: Applying "
                  : c == '+' ? "Applying "
                  : c == '=' ? "============\n============\n"
                  : c == ']' ? "]\n"
                             : std::string(1, c);
    }
    return report;
}

TEST_F(merge, decides_and_asks_as_documented) {
    const std::string base = test::letters("abcdefghij");
    const struct {
        const char *name, *second, *third;  // "=" for the base's text, "-" for none
        int mq;
        const char *answers, *text, *asked, *report;
    } rows[] = {
        {"one inserts", "abcdefghiXj", "=", 0, "", "abcdefghiXj", "",
         "!INSERT from file 2 [line 10]="},
        {"both insert the same", "abXYcdefghij", "abXYcdefghij", 0, "", "abXYcdefghij", "",
         "!INSERT from file 3 [lines 3-4]="},
        {"both delete the same", "abcghij", "abcghij", 0, "", "abcghij", "",
         "!DELETION from file 3 [deleting base lines 4-6]="},
        {"only the second changes", "=", "abcdEFghij", 0, "", "abcdEFghij", "",
         "!CHANGE from file 3 [lines 5-6]="},
        {"different changes, first taken", "abXdefghij", "abYdefghij", 0, "yn", "abXdefghij",
         "c2y c3n ", "+CHANGE from file 2 [line 3]="},
        {"different changes, both taken", "abXdefghij", "abYdefghij", 0, "yy", "abXYdefghij",
         "c2y c3n ", "+CHANGE from file 2 [line 3]+CHANGE from file 3 [line 3]="},
        {"different changes, none taken", "aXYdefghij", "aZdefghij", 0, "nn", "=", "c2y c3y ",
         "Keeping ORIGINAL text from file 1 (BASE) [lines 2-3]="},
        {"a deletion taken, then a change", "abdefghij", "abXdefghij", 0, "yn", "abdefghij",
         "d2y c3n ", "+DELETION from file 2 [deleting base line 3]="},
        {"a change taken: a deletion is not asked for", "abXdefghij", "abdefghij", 0, "y",
         "abXdefghij", "c2y ", "+CHANGE from file 2 [line 3]="},
        {"an insertion right before a change", "aXbcdefghij", "aBcdefghij", 0, "yy", "aXBcdefghij",
         "i2y ", "+INSERT from file 2 [line 2]=!CHANGE from file 3 [line 2]="},
        {"an insertion right behind a change", "aBcdefghij", "abXcdefghij", 0, "y", "aBXcdefghij",
         "i3y ", "!CHANGE from file 2 [line 2]=+INSERT from file 3 [line 3]="},
        {"an insertion right behind a change of several lines", "aBCdefghij", "abcXdefghij", 0, "y",
         "aBCXdefghij", "i3y ", "!CHANGE from file 2 [lines 2-3]=+INSERT from file 3 [line 4]="},
        {"different insertions, none taken", "aXbcdefghij", "aYbcdefghij", 0, "nn", "=", "i2y i3y ",
         "="},
        {"mode 1 asks", "abcdefghiXj", "=", 1, "y", "abcdefghiXj", "i2y ",
         "+INSERT from file 2 [line 10]="},
        {"mode 3 trusts the last file", "=", "abcdeFghij", 3, "", "abcdeFghij", "",
         "!CHANGE from file 3 [line 6]="},
        {"mode 3 asks about others", "abcdeFghij", "=", 3, "y", "abcdeFghij", "c2y ",
         "+CHANGE from file 2 [line 6]="},
        {"mode 2 never asks", "abXdefghij", "abYdefghij", 2, "", "-", "",
         "*** No Automatic Decision Possible\n*** Aborting...\n"},
        {"an abort", "abXdefghij", "abYdefghij", 0, "a", "-", "c2y ", "*** Aborting...\n"},
        {"a single contributor is always asked about", "abXdefghij", "-", 0, "y", "abXdefghij",
         "c2y ", "+CHANGE from file 2 [line 3]="},
    };
    for (const auto &row : rows) {
        const auto text_of = [&](const std::string &text) {
            return text == "=" ? base : text == "-" ? aborted : test::letters(text);
        };
        test::texts files = {base, text_of(row.second), text_of(row.third)};
        files.resize(files[2] == aborted ? 2 : 3);
        const result found = run(files, row.mq, row.answers);
        EXPECT_EQ(found.text, text_of(row.text)) << row.name;
        EXPECT_EQ(found.asked, row.asked) << row.name;
        EXPECT_EQ(found.report, told(row.report)) << row.name;
        if (row.mq == 1) {
            EXPECT_EQ(run(files, 4, row.answers).asked, row.asked) << row.name << ", mode 4";
        }
    }
}

TEST_F(merge, asks_by_itself_when_nobody_else_does) {
    test::session all(write_all({test::letters("abcdefghij"), test::letters("aXbcDefgij")}));
    ASSERT_EQ(all.compare(), 0);
    const support::scratch_file in("\nn\ny\n");
    const support::scratch_file shown;
    {
        const support::redirection from(STDIN_FILENO, in.descriptor);
        const support::redirection to(STDOUT_FILENO, shown.descriptor);
        EXPECT_EQ(merge_session(all.s, 0, 0, nullptr), 0);
    }
    EXPECT_EQ(read(path("out")), test::letters("aXbcdefgij"));
    EXPECT_EQ(shown.contents(), "Do you want the INSERTION made in file 2? " +
                                    told("+INSERT from file 2 [line 2]=") +
                                    "Do you want the CHANGE made in file 2? " +
                                    told("Keeping ORIGINAL text from file 1 (BASE) [line 4]=") +
                                    "Do you want the DELETION made in file 2? " +
                                    told("+DELETION from file 2 [deleting base line 8]="));
}

TEST_F(merge, compares_and_writes_the_files_own_bytes_under_conversion) {
    // Converted, both lines would stand in the one buffer, and be the same line.
    const std::string one = "\xC6\xFC\n";
    const std::string other = "\xCB\xDC\n";
    ASSERT_NE(setlocale(LC_ALL, "C.UTF-8"), nullptr);
    setenv("VT_LANG_CODESET", "EUC", 1);
    const result agreed = run({"a\nz\n", "a\n" + one + "z\n", "a\n" + one + "z\n"});
    const result asked = run({"a\nz\n", "a\n" + one + "z\n", "a\n" + other + "z\n"}, 0, "ny");
    unsetenv("VT_LANG_CODESET");
    setlocale(LC_ALL, "C");
    EXPECT_EQ(agreed.text, "a\n" + one + "z\n");
    EXPECT_EQ(agreed.asked, "");
    EXPECT_EQ(asked.text, "a\n" + other + "z\n");
    EXPECT_EQ(asked.asked, "i2y i3y ");
}

TEST_F(merge, tells_of_a_source_that_was_cut_after_the_comparison) {
    const auto text = [](const char *own) {
        return "1\n2\n3\n" + std::string(700, 'm') + own + "\nend of it\n";
    };
    const test::texts files = {text(""), text("x"), text("")};
    const struct {
        const char *name;
        uintmax_t size;
        std::string told;  // before the file's name and behind it
        const char *cause;
    } rows[] = {
        {"in the head", 2, "Unexpected end-of-file reading \"", "\".\n"},
        // The head's last line may stand without its newline, and so be missing.
        {"before the tail", 4, "Trouble accessing file \"", "\": Invalid argument\n"},
    };
    for (const auto &row : rows) {
        const auto paths = write_all(files);
        test::session all(paths);
        ASSERT_EQ(all.compare(), 0);
        std::filesystem::resize_file(paths[0], row.size);
        testing::internal::CaptureStdout();
        int status = 0;
        const std::string told = test::messages_of([&] { status = merge_session(all.s, 0, 0); });
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(status, 1) << row.name;
        EXPECT_EQ(told, row.told + paths[0] + row.cause) << row.name;
        std::filesystem::remove(path("out"));
    }
}

TEST_F(merge, takes_the_only_changed_file_whole_whatever_it_did) {
    for (const unsigned seed : seeds(120)) {
        text_maker make{.random = std::mt19937(seed), .repeated = 0.3, .doubles = true};
        const std::string base = joined(make.text(make.below(50)));
        const std::string edited = make.changed(base);
        if (base != edited) {
            EXPECT_EQ(run({base, edited, base, base}).text, edited);
            EXPECT_EQ(run({base, base, edited}, 0, "", 2).text, edited);
            EXPECT_EQ(run({base, edited, edited}).text, edited);
            EXPECT_EQ(run({base, edited}, 0, std::string(99, 'y')).text, edited);
        }
    }
}

TEST_F(merge, writes_base_text_that_was_kept_whatever_the_source_file) {
    const std::string base = test::letters("abcde");
    const test::texts files = {base, test::letters("abXde"), test::letters("abYZde")};
    for (int source = -1; source < 4; ++source) {
        EXPECT_EQ(run(files, 0, "nnn", source).text, base) << source;
    }
}

TEST_F(merge, keeps_long_lines_and_a_missing_last_newline) {
    const std::string filler = std::string(1500, 'f') + "\n" + std::string(700, 'g') + "\n";
    const test::texts files = {filler + "a\n" + filler + "end", filler + "b\n" + filler + "end",
                               filler + "a\n" + filler + "end"};
    EXPECT_EQ(run(files).text, files[1]);
}

/// Calls with no file growing beyond so many bytes, and keeps the messages back.
template <typename Call>
void limited(rlim_t bytes, Call &&call) {
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small = {bytes, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    test::messages_of([&] {
        setrlimit(RLIMIT_FSIZE, &small);
        call();
        setrlimit(RLIMIT_FSIZE, &before);
    });
    std::signal(SIGXFSZ, handler);
}

TEST_F(merge, never_overwrites_and_leaves_no_half_output) {
    const test::texts files = {test::letters("abc"), test::letters("aXc"), test::letters("abc")};
    write("out", "precious");
    test::session all(write_all(files));
    ASSERT_EQ(all.compare(), 0);
    const std::string told = test::messages_of([&] { EXPECT_EQ(merge_session(all.s, 0, 0), 1); });
    EXPECT_EQ(told, "Unable to open file \"" + path("out") + "\": File exists\n");
    EXPECT_EQ(read(path("out")), "precious");

    std::filesystem::remove(path("out"));
    int status = 0;
    testing::internal::CaptureStdout();
    limited(2, [&] { status = merge_session(all.s, 0, 0); });
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(status, 1);
    EXPECT_FALSE(std::filesystem::exists(path("out")));
}

TEST_F(merge, keeps_no_output_that_an_early_write_missed) {
    const std::string much = joined(std::vector<std::string>(3000, "text\n"));
    test::session all(write_all({"1\na\n2\n", "1\n" + much + "2\n", "1\n" + much + "2\n"}));
    ASSERT_EQ(all.compare(), 0);
    uint64_t head = 0;
    uint64_t tail = 0;
    uint32_t end = 0;
    diff_block b{};
    ASSERT_EQ(tdm_init_diff_stream(all.s, &head, &tail), 0);
    const std::string out = path("out");
    merge_report *const r = tdm_merge_init_report(all.s, out.c_str(), 0, answer, nullptr, 0);
    ASSERT_NE(r, nullptr);
    bool failed = false;
    limited(100, [&] {
        while (tdm_get_next_diff(all.s, &end, &b) == 0 && end == 0) {
            failed = tdm_merge_queue_diff(r, &b) != 0 || failed;
        }
    });
    ASSERT_TRUE(failed);
    testing::internal::CaptureStdout();
    EXPECT_EQ(tdm_merge_term(r, 0), 1);
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST_F(merge, fails_without_the_text_of_a_line) {
    const auto paths = write_all(
        {test::letters("abc"), "a\n" + std::string(90000, '\n'), "a\n" + std::string(90000, '\n')});
    test::session all(paths);
    ASSERT_EQ(all.compare(), 0);
    std::filesystem::resize_file(paths[2], 2);
    testing::internal::CaptureStdout();
    EXPECT_NE(test::messages_of([&] { EXPECT_EQ(merge_session(all.s, 0, 0), 1); }), "");
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(std::filesystem::exists(path("out")));
}

TEST_F(merge, refuses_blocks_of_no_file) {
    test::session all(write_all({"a\n", "b\n", "a\n"}));
    ASSERT_EQ(all.compare(), 0);
    const std::string out = path("out");
    merge_report *r = tdm_merge_init_report(all.s, out.c_str(), 0, answer, nullptr, 0);
    ASSERT_NE(r, nullptr);
    diff_block b{};
    for (const uint32_t file : {0U, 3U, 0xFFFFFFFFU}) {
        b.file_index = file;
        EXPECT_EQ(tdm_merge_queue_diff(r, &b), 1);
    }
    EXPECT_EQ(tdm_merge_queue_diff(r, nullptr), 1);
    EXPECT_EQ(tdm_merge_queue_diff(nullptr, &b), 1);
    EXPECT_EQ(tdm_merge_term(r, 1), 1);
    EXPECT_FALSE(std::filesystem::exists(path("out")));
    EXPECT_EQ(tdm_merge_term(nullptr, 0), 1);
    EXPECT_EQ(tdm_merge_init_report(nullptr, "out", 0, answer, nullptr, 0), nullptr);
}

}  // namespace
