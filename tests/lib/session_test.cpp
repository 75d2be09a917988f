#include <clocale>
#include <cstring>

#include "faulty_services.h"
#include "session_support.h"

namespace {

class session_files : public test::session_test {};

TEST_F(session_files, refuses_what_it_cannot_compare) {
    const std::string good = write("good", "a\n");
    const std::string folder = path("");
    const struct {
        const char *name;
        std::vector<std::string> paths;
        std::string reported;
    } rows[] = {
        {"a folder", {good, folder}, "\"" + folder + "\" is not a 'text file'.\nUse 'vtcmd' to"},
        {"a missing file", {path("none")}, "Trouble accessing file \"" + path("none") + "\""},
        {"too many files", std::vector<std::string>(33, good), "Too many files"},
    };
    for (const auto &row : rows) {
        const int64_t blocks = test::live_blocks();
        const std::string told = test::messages_of([&] {
            const test::session refused(row.paths);
            EXPECT_EQ(refused.status, 1) << row.name;
            EXPECT_EQ(refused.s, nullptr) << row.name;
        });
        EXPECT_EQ(told.rfind(row.reported, 0), 0U) << row.name << ": " << told;
        EXPECT_EQ(test::live_blocks(), blocks) << row.name;
    }
}

TEST_F(session_files, need_two_to_compare_and_compare_once) {
    test::session alone(write_all({"a\n"}));
    EXPECT_EQ(test::messages_of([&] { EXPECT_EQ(alone.compare(), 1); }),
              "Too few files were specified for diff or merge.\n");
    uint32_t end = 0;
    diff_block block{};
    EXPECT_EQ(tdm_get_next_diff(alone.s, &end, &block), 0);
    EXPECT_EQ(end, 1U);

    test::session two(write_all({"a\nb\n", "a\nc\n"}));
    ASSERT_EQ(two.compare(), 0);
    const int32_t *const map = two.s->base_map[1];
    EXPECT_EQ(two.compare(), 1);
    EXPECT_EQ(two.s->base_map[1], map);
    EXPECT_EQ(two.s->files[0].last_line, 0);
}

TEST_F(session_files, keep_the_order_of_calls) {
    const auto paths = write_all({"a\nb\n", "a\nc\n"});
    test::session all(paths);
    uint32_t end = 0;
    diff_block block{};
    EXPECT_EQ(tdm_get_next_diff(all.s, &end, &block), 1);
    const std::string told = test::messages_of([&] {
        EXPECT_EQ(tdm_merge_init_report(all.s, path("out").c_str(), 0, nullptr, nullptr, 0),
                  nullptr);
    });
    EXPECT_EQ(told, "Files that were not compared cannot be merged.\n");
    ASSERT_EQ(tdm_engine_enter(all.s, &all.identical), 0);
    EXPECT_EQ(tdm_get_next_diff(all.s, &end, &block), 1);
    EXPECT_EQ(all.compare(), 0);
    EXPECT_EQ(tdm_get_next_diff(all.s, &end, &block), 0);
    EXPECT_EQ(block.kind, 1U);

    test::session nameless(paths);
    test::messages_of([&] {
        const test::failing fault(test::service::memory, 0);
        tdm_set_operation_context(nameless.s, 1, "create_version");
    });
    EXPECT_EQ(test::messages_of([&] { EXPECT_EQ(nameless.compare(), 1); }), "");
}

TEST_F(session_files, refuse_more_text_than_a_size_tells) {
    const auto paths = write_all({"1\n", "a\n"});
    test::session grown(paths);
    write("file1", "a\nb\n");
    test::session sizeless({paths[0], "/proc/self/status"});
    for (test::session *all : {&grown, &sizeless}) {
        const std::string told = test::messages_of([&] { EXPECT_EQ(all->compare(), 1); });
        EXPECT_NE(told.find("has more text than its size tells"), std::string::npos) << told;
    }
}

TEST_F(session_files, tell_the_operation_to_the_line_reader) {
    test::session all(write_all({std::string("a\0b\n", 4), "a\n"}));
    tdm_set_operation_context(all.s, 1, "merge");
    tdm_set_operation_context(all.s, 1, "create_version");
    const std::string told = test::messages_of([&] { EXPECT_EQ(all.compare(), 1); });
    EXPECT_NE(told.find("does not support check-in of binary data"), std::string::npos) << told;
}

TEST_F(session_files, tell_colliding_lines_apart_only_in_a_check_in) {
    for (const bool check_in : {false, true}) {
        for (const bool ignore_blanks : {false, true}) {
            test::session all(write_all({"1\nc\xA0\n a  b\n", "2\nb!\na b \n"}));
            if (check_in) {
                tdm_set_operation_context(all.s, 1, "create_version");
            }
            if (ignore_blanks) {
                tdm_set_ignore_blanks(all.s);
            }
            ASSERT_EQ(all.compare(), 0);
            EXPECT_EQ(all.s->base_map[1][1], check_in ? -1 : 1);
            ASSERT_EQ(all.s->base_line_count, 3U);
            EXPECT_EQ(all.s->base_map[1][2], ignore_blanks ? 2 : -1);
        }
    }
}

TEST_F(session_files, survive_null_arguments) {
    tdm_session *s = nullptr;
    const char *const names[] = {nullptr};
    test::messages_of([&] { EXPECT_EQ(tdm_create_session(1, names, &s), 1); });
    EXPECT_EQ(tdm_create_session(0, nullptr, nullptr), 1);
    EXPECT_EQ(tdm_create_session(0, nullptr, &s), 0);
    int flag = 0;
    uint64_t number = 0;
    EXPECT_EQ(test::messages_of([&] { EXPECT_EQ(tdm_compare(s, &flag), 1); }).empty(), false);
    EXPECT_EQ(tdm_get_unchanged_bytes(s, 0, &number, &number), 1);
    EXPECT_EQ(tdm_destroy_session(s), 0);
    EXPECT_EQ(tdm_destroy_session(nullptr), 0);
    EXPECT_EQ(tdm_compare(nullptr, &flag), 1);
    EXPECT_EQ(tdm_get_line_text(nullptr, 0, 1), nullptr);
    EXPECT_EQ(tdm_init_diff_stream(nullptr, &number, &number), 1);
}

TEST_F(session_files, give_back_every_line_of_the_middle_in_any_order) {
    text_maker make{.random = std::mt19937(3), .repeated = 0.3};
    // Below 131072 bytes every line has a checkpoint; above, some are reached from one before.
    // Of two-byte lines the last third have none.
    for (const size_t lines : {500U, 13000U, 60000U, 196607U}) {
        test::texts files = {joined(make.text(lines)), ""};
        if (lines > 100000) {
            files[0].clear();
            for (size_t n = 0; n < lines; ++n) {
                files[0] += {static_cast<char>('a' + make.below(26)), '\n'};
            }
        }
        files[1] = "other\n" + files[0] + "last";
        test::session all(write_all(files));
        ASSERT_EQ(all.compare(), 0);
        const std::vector<std::string> wanted = split_lines(files[1]);
        const auto count = static_cast<int>(wanted.size());
        int line = 0;
        for (int i = 0; i < 3000; ++i) {
            line = make.chance(0.3) ? static_cast<int>(make.below(wanted.size())) + 1
                                    : line % count + 1;
            const char *const text = tdm_get_line_text(all.s, 1, line);
            ASSERT_NE(text, nullptr) << line;
            ASSERT_EQ(text, wanted[static_cast<size_t>(line) - 1]) << line << " of " << lines;
        }
        for (const int outside : {0, -5, count + 1, INT32_MAX}) {
            EXPECT_EQ(tdm_get_line_text(all.s, 1, outside), nullptr) << outside;
        }
    }
}

TEST_F(session_files, keep_the_lines_before_one_that_is_not_text) {
    test::session all(write_all({"a\nb\nc\n", std::string("x\nb\nq\0\n", 7)}));
    test::messages_of([&] { EXPECT_EQ(all.compare(), 1); });
    EXPECT_STREQ(tdm_get_line_text(all.s, 1, 2), "b\n");
    EXPECT_EQ(tdm_get_line_text(all.s, 1, 3), nullptr);
}

TEST_F(session_files, report_lines_that_are_gone) {
    const auto paths = write_all({"1\n", "a\nb\n" + std::string(100000, '\n')});
    test::session all(paths);
    ASSERT_EQ(all.compare(), 0);
    std::filesystem::resize_file(paths[1], 2);
    EXPECT_EQ(test::messages_of([&] { EXPECT_EQ(tdm_get_line_text(all.s, 1, 3), nullptr); }),
              "Unexpected end-of-file reading \"" + paths[1] + "\".\n");
}

TEST_F(session_files, end_in_a_status_whichever_service_fails) {
    text_maker make{.random = std::mt19937(4), .repeated = 0.3};
    const std::string base = joined(make.text(3000));
    const auto paths = write_all({base, make.changed(base + "x\n"), "y\n" + base});
    for (const auto which :
         {test::service::memory, test::service::hash_enter, test::service::stat}) {
        bool met = true;
        int64_t n = 0;
        for (; met; n = n < 20 ? n + 1 : n * 3 / 2) {
            const int64_t blocks = test::live_blocks();
            int status = 0;
            const std::string told = test::messages_of([&] {
                const test::failing fault(which, n);
                test::session all(paths);
                status = all.status == 0 ? all.compare() : 1;
                met = test::failing::met();
            });
            EXPECT_LE(std::count(told.begin(), told.end(), '\n'), 1) << told;
            // A stdio buffer and a converter's buffer may be done without.
            EXPECT_TRUE(met || status == 0) << n;
            EXPECT_TRUE(which == test::service::memory || !met || status == 1) << n;
            EXPECT_EQ(test::live_blocks(), blocks) << n;
        }
        EXPECT_GT(n, 1);
    }
}

TEST_F(session_files, grow_the_conversion_buffer_until_a_text_fits) {
    std::vector<uint64_t> capacities;
    test::set_conversion([&](char *out, uint64_t capacity, uint64_t *out_len) {
        capacities.push_back(capacity);
        std::strcpy(out, "done");
        *out_len = 4;
        return capacities.size() < 3 ? 3 : 0;
    });
    const std::string text(100, 'a');
    auto *buffer = static_cast<char *>(mem_malloc(265));
    uint64_t size = 265;
    uint64_t length = 9;
    EXPECT_STREQ(tdm_convert_codeset(nullptr, 1, 2, text.c_str(), 100, &buffer, &size, &length),
                 "done");
    EXPECT_EQ(capacities, (std::vector<uint64_t>{264, 465, 867}));
    EXPECT_EQ(size, 868U);
    EXPECT_EQ(length, 4U);
    EXPECT_EQ(tdm_convert_codeset(nullptr, 2, 2, text.c_str(), 100, &buffer, &size, &length),
              nullptr);
    EXPECT_EQ(length, 0U);
    test::set_conversion([](char *, uint64_t, uint64_t *) { return 1; });
    EXPECT_NE(test::messages_of([&] {
                  EXPECT_EQ(tdm_convert_codeset(nullptr, 1, 2, "odd", 3, &buffer, &size, &length),
                            nullptr);
              }).find("odd"),
              std::string::npos);
    test::set_conversion(nullptr);
    mem_free(buffer);
}

TEST_F(session_files, convert_only_between_known_codesets) {
    const struct {
        const char *locale, *setting, *told;
        uint32_t convert, file_codeset;
    } rows[] = {
        {"C", nullptr, "", 0, 0},
        {"C", "EUC", "The current locale is \"C\" or it's unknown.", 0, 0},
        {"C.UTF-8", "EUC", "", 1, 1},
        {"C.UTF-8", "SJIS", "", 1, 2},
        {"C.UTF-8", "euc", "", 1, 0},
    };
    for (const auto &row : rows) {
        ASSERT_NE(setlocale(LC_ALL, row.locale), nullptr);
        if (row.setting != nullptr) {
            setenv("VT_LANG_CODESET", row.setting, 1);
        }
        const std::string told = test::messages_of([&] {
            test::session all(write_all({"a\n", "b\n"}));
            uint32_t file_codeset = 9;
            uint32_t locale_codeset = 9;
            EXPECT_EQ(tdm_get_codeset_info(all.s, &file_codeset, &locale_codeset), row.convert);
            EXPECT_EQ(file_codeset, row.file_codeset);
            // Plain text does not tell a codeset, and then there is nothing to convert.
            EXPECT_EQ(all.compare(), 0);
            EXPECT_EQ(all.s->convert, row.file_codeset == 0 ? 0 : row.convert);
            tdm_set_operation_context(all.s, 1, "create_version");
            EXPECT_EQ(all.s->convert, 0U);
        });
        EXPECT_EQ(told.rfind(row.told, 0), 0U) << told;
        unsetenv("VT_LANG_CODESET");
        setlocale(LC_ALL, "C");
    }
}

}  // namespace
