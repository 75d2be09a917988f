#include <pty.h>
#include <termios.h>

#include <csignal>

#include "support.h"

namespace {

using support::redirection;
using support::scratch_file;

constexpr char marked[] = "*** \001\0011BOn\001\0010B [%s]\n";

TEST(Messages, emphasis_of_the_format_is_dropped_in_a_file_and_arguments_pass_unchanged) {
    // Long, and with the bytes that mean something in a format.
    const std::string argument = "\001\0011B %s %n \001\0010B" + std::string(9000, 'x');
    const std::string shown = "*** On [" + argument + "]\n";
    for (const int severity : {0, 4, 6, 7}) {
        const scratch_file out, err;
        {
            const redirection to_out(STDOUT_FILENO, out.descriptor);
            const redirection to_err(STDERR_FILENO, err.descriptor);
            msg_print(severity, marked, -1, argument.c_str());
        }
        EXPECT_EQ(out.contents(), severity == 0 ? shown : "") << severity;
        EXPECT_EQ(err.contents(), severity == 0 ? "" : shown) << severity;
    }
}

/// What a terminal receives when `marked` is printed.
std::string shown_on_a_terminal(int severity) {
    termios raw{};
    cfmakeraw(&raw);
    int master = -1, terminal = -1;
    if (openpty(&master, &terminal, nullptr, &raw, nullptr) != 0) {
        return {};
    }
    {
        const redirection to_out(STDOUT_FILENO, terminal);
        const redirection to_err(STDERR_FILENO, terminal);
        msg_print(severity, marked, -1, "x");
    }
    char shown[100] = {};
    EXPECT_GT(read(master, shown, sizeof shown - 1), 0);
    close(terminal);
    close(master);
    return shown;
}

TEST(Messages, emphasis_is_bold_on_a_terminal_unless_no_color_is_set_and_not_empty) {
    if (shown_on_a_terminal(0).empty()) {
        GTEST_SKIP() << "needs a pseudo terminal";
    }
    for (const int severity : {0, 6}) {
        unsetenv("NO_COLOR");
        EXPECT_EQ(shown_on_a_terminal(severity), "*** \033[1mOn\033[0m [x]\n");
        setenv("NO_COLOR", "", 1);
        EXPECT_EQ(shown_on_a_terminal(severity), "*** \033[1mOn\033[0m [x]\n");
        setenv("NO_COLOR", "1", 1);
        EXPECT_EQ(shown_on_a_terminal(severity), "*** On [x]\n");
    }
}

TEST(Messages, both_streams_keep_their_order_and_shared_messages_are_found_by_number) {
    const scratch_file both;
    {
        const redirection to_out(STDOUT_FILENO, both.descriptor);
        const redirection to_err(STDERR_FILENO, both.descriptor);
        std::fputs("first ", stdout);
        msg_print(6, "second ", -1);
        msg_print(0, "third ", -1);
        log_internal_error("x", &shared_msg_table, 1, "some/unit", 77, 0);
        msg_print_shared(6, "x", &shared_msg_table, 33, 5);
        msg_print(6, &shared_msg_table, shared_msg_table.count, 5);
    }
    const std::string damaged = shared_msg_table.texts[1], shown = both.contents();
    EXPECT_EQ(shared_msg_table.numbers[1], 142);
    EXPECT_EQ(shown, "first second third " + damaged +
                         "Internal error detected in \"some/unit\", line 77.\n"
                         "Unknown message.\nUnknown message.\n");
}

TEST(Prompt, answers_are_taken_from_lines_until_one_is_allowed) {
    constexpr uint64_t all = 13;
    struct {
        const char *input;
        uint64_t allowed, default_answer, answer;
        size_t questions;
    } const rows[] = {
        {"y\n", all, 8, 4, 1},   {"YES\n", all, 8, 4, 1},
        {"n\n", all, 4, 8, 1},   {"No\n", all, 4, 8, 1},
        {"a\n", all, 4, 1, 1},   {"ABORT", all, 4, 1, 1},
        {"\n", all, 8, 8, 1},    {"maybe\nyess\nabortion\n\ny\n", all, 4, 4, 4},
        {"a\nn\n", 12, 4, 8, 2}, {"yesyesyesyes\nn\n", all, 4, 8, 2},
        {"", 12, 4, 1, 1},       {"what\n", all, 4, 1, 2},
    };
    for (const auto &row : rows) {
        const scratch_file in(row.input), out;
        uint64_t answer = 0;
        std::string shown;
        {
            const redirection from_in(STDIN_FILENO, in.descriptor);
            const redirection to_out(STDOUT_FILENO, out.descriptor);
            answer =
                msg_prompt_yes_no(0, "\001\0011B%d\001\0010B? ", row.allowed, row.default_answer);
            shown = out.contents();  // before anything else is flushed: the user has seen it
            while (std::getc(stdin) != EOF) {
            }
            std::clearerr(stdin);
        }
        EXPECT_EQ(answer, row.answer) << row.input;
        EXPECT_EQ(shown, std::string("%d? %d? %d? %d? ", row.questions * 4)) << row.input;
    }
}

int signals_met;

TEST(Guard, signals_wait_for_the_end_of_the_outermost_section) {
    std::signal(SIGUSR1, [](int) { ++signals_met; });
    guard_enable();
    guard_inhibit();
    guard_inhibit();
    std::raise(SIGUSR1);
    guard_enable();
    EXPECT_EQ(signals_met, 0);
    guard_enable();
    EXPECT_EQ(signals_met, 1);
    std::raise(SIGUSR1);
    EXPECT_EQ(signals_met, 2);
}

}  // namespace
