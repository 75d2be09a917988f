// Containers made by hand and by the library: creation, branches, the weave walk, annotation.
#include <functional>

#include "support.h"

namespace {

class container : public test::scratch {
protected:
    std::string element() {
        const std::string file = path("element");
        EXPECT_EQ(tdm_create_elem(0x7b, "elA", "brA", "verA", file.c_str()), 0);
        return file;
    }
};

constexpr char new_element[] = "^S db1 0\n^V verA 0 0 7b\n^B brA 0 0 0\n^E elA\n";

// Version 2 deletes B, version 1 of a branch off version 1 adds X.
constexpr char branched[] =
    "^S db1 1\n^V b1 1 1 5\n^V b0 1 0 4\n^B bB 1 0 1\n^V a2 0 2 3\n^V a1 0 1 2\n^V a0 0 0 1\n"
    "^B bA 0 0 0\n^E el\n"
    "^I 0 1 3\nA\n^D 0 2 1\n^I 1 1 1\nX\nB\nC\n";

TEST_F(container, of_a_new_element_has_four_records) {
    const std::string file = element();
    EXPECT_EQ(read(file), new_element);
    EXPECT_EQ(construct(file, "verA"), "");
    EXPECT_EQ(tdm_create_elem(1, "e", "b", "v", path("no/where").c_str()), 2);
}

TEST_F(container, gains_a_branch) {
    const std::string file = element();
    const std::string second = path("second");
    const std::string third = path("third");
    ASSERT_EQ(
        tdm_create_branch(0x7c, "brB", "verB", second.c_str(), "brA", nullptr, 0, file.c_str()), 0);
    EXPECT_EQ(read(second),
              "^S db1 1\n^V verB 1 0 7c\n^B brB 1 0 0\n^V verA 0 0 7b\n^B brA 0 0 0\n^E elA\n");
    ASSERT_EQ(
        tdm_create_branch(0x7d, "brC", "verC", third.c_str(), "brB", nullptr, 0, second.c_str()),
        0);
    EXPECT_EQ(read(third).substr(0, 39), "^S db1 2\n^V verC 2 0 7d\n^B brC 2 1 0\n^V");
    const struct {
        const char *branch, *version, *parent, *from, *message;
        int result;
    } refused[] = {
        {"brA", "v", "brA", file.c_str(), "Branch oid brA is already present in \"", -1},
        {"brX", "v", "none", file.c_str(), "Specified branch does not exist\n", -1},
        {"b x", "v", "brA", file.c_str(), "Can't parse malformed object-id b x\n", -1},
        {"brX", "v\n", "brA", file.c_str(), "Can't parse malformed object-id v\n\n", -1},
        {"brX", "v", "brA", "/nowhere/at/all", "", 2},
    };
    for (const auto &row : refused) {
        const std::string said = test::messages_of([&] {
            EXPECT_EQ(tdm_create_branch(1, row.branch, row.version, path("new").c_str(), row.parent,
                                        nullptr, 0, row.from),
                      row.result);
        });
        EXPECT_EQ(said.substr(0, strlen(row.message)), row.message);
        EXPECT_FALSE(std::filesystem::exists(path("new")));
    }
}

TEST_F(container, walks_give_each_version_its_lines) {
    const std::string file = write("c", branched);
    EXPECT_EQ(construct(file, "a2", 4), "I a1 A\nU b1 X\nD a1,a2 B\nI a1 C\n");
    EXPECT_EQ(construct(file, "a2", 2), "I a1 A\nD a1,a2 B\nI a1 C\n");
    EXPECT_EQ(construct(file, "a2", 1), "I a1 A\nI a1 C\n");
    EXPECT_EQ(construct(file, "b1", 1), "I a1 A\nI b1 X\nI a1 B\nI a1 C\n");
}

TEST_F(container, annotation_names_what_the_header_lists) {
    const std::string header =
        "^S db1 0\n^V v3 0 3 1\n^#^V v2 0 2 1\n^V v1 0 1 1\n^B b 0 0 0\n^E e\n";
    const std::string file = write("c", header + "^I 0 1 1\nA\n^I 0 2 1\nB\n^I 0 3 1\n^N C\n");
    EXPECT_EQ(construct(file, "v3", 1), "I v1 A\nI v3 B\nI v3 C\n");
    EXPECT_EQ(construct(file, "v3"), "A\nB\nC");
    const std::string unlisted = write("d", header + "^I 0 2 0\n^I 0 0 1\nA\n");
    EXPECT_EQ(construct(unlisted, "v1", 1), "I 00000000000000000000000000000000 A\n");
    // A deleted branch point keeps its name and stands for older ones; the newest has none.
    const std::string names =
        write("e",
              "^S db1 1\n^V b1 1 1 1\n^V b0 1 0 1\n^B bb 1 0 2\n^#^V v4 0 4 1\n^V v3 0 3 1\n"
              "^#^V v2 0 2 1\n^#^V v1 0 1 1\n^V v0 0 0 1\n^B b 0 0 0\n^E e\n"
              "^I 0 1 3\nA\n^D 0 2 1\nB\n^D 0 3 1\nC\n^I 0 2 1\nD\n^I 0 3 1\nE\n"
              "^I 0 4 1\nF\n^I 1 1 1\nG\n");
    EXPECT_EQ(construct(names, "v3", 7), "I v2 A\nD v2,v2 B\nD v2,v3 C\nI v2 D\nI v3 E\nU b1 G\n");
}

TEST_F(container, damage_gives_a_status_and_a_message) {
    const std::string header = "^S db1 0\n^V v1 0 1 1\n^V v0 0 0 1\n^B b 0 0 0\n^E e\n";
    const std::string corrupted =
        "The container appears to be corrupted; it contains excess lines.\n";
    const struct {
        const char *name;
        std::string bytes;
        uint32_t flags;
        std::string message;
    } rows[] = {
        {"empty", "", 0, "Bad delta control record in '"},
        {"other format", "^S db2 3\n", 0, "Unknown delta file format number: 0xdb2\n"},
        {"no status", "^V v1 0 1 1\n", 0, "Bad delta control record in '"},
        {"version not there", "^S db1 0\n^E e\n^V v1 0 1 1\n", 0,
         "Specified version does not exist\n"},
        {"commented out", "^S db1 0\n^#^V v1 0 1 1\n^E e\n", 0,
         "Specified version does not exist\n"},
        {"bad version record", "^S db1 0\n^V v1 0\n^E e\n", 0, "Bad delta control record in '"},
        {"branch record missing", "^S db1 1\n^V v1 1 1 1\n^B b 0 0 0\n^E e\n", 0,
         "Can't find ancestors of specified version\n"},
        {"bad insert", header + "^I 0 x\n", 0, "Bad delta control record in '"},
        {"bad delete", header + "^D\n", 0, "Bad delta control record in '"},
        {"line outside every run", header + "A\n", 1, corrupted},
        {"deletion without lines to count", header + "^I 0 1 2\nA\n^D 0 1 1\nB\nC\n", 1, corrupted},
        {"insert run of more lines than there can be",
         header + "^I 0 2 7fffffffffffffff\n^D 0 1 1\n^I 0 1 1\nA\nB\n", 4, ""},
        {"no element record", "^S db1 0\n^V v1 0 1 1\n", 1, "Unexpected end-of-file reading \""},
        {"deletions of more lines than can be counted",
         header + "^I 0 1 1\n^D 0 1 ffffffffffffffff\n^D 0 1 1\nA\n", 0,
         "Bad delta control record in '"},
    };
    for (const auto &row : rows) {
        const std::string file = write("c", row.bytes);
        const std::string said = test::messages_of([&] {
            const int result =
                tdm_construct_ver(file.c_str(), path("out").c_str(), "v1", row.flags);
            EXPECT_EQ(result, row.message.empty() ? 0 : -1) << row.name;
        });
        EXPECT_EQ(said.substr(0, row.message.size()), row.message) << row.name;
    }
}

TEST_F(container, is_never_overwritten_by_what_reads_it) {
    const std::string file = write("c", branched);
    const std::string alias = path("alias");
    std::filesystem::create_hard_link(file, alias);
    const std::string text = write("text", "A\n");
    uint32_t identical = 0;
    for (const std::string &target : {file, alias}) {
        test::messages_of([&] {
            EXPECT_EQ(tdm_construct_ver(file.c_str(), target.c_str(), "a1", 0), -1);
            EXPECT_EQ(tdm_get_cont_info(file.c_str(), target.c_str()), -1);
            EXPECT_EQ(tdm_delete_versions_and_branches(file.c_str(), target.c_str(), 0, nullptr, 0,
                                                       nullptr),
                      -1);
            EXPECT_EQ(
                tdm_create_branch(1, "n", "v", target.c_str(), "bA", nullptr, 1, file.c_str()), -1);
            EXPECT_EQ(tdm_store_ver(1, "v", "bA", 3, target.c_str(), nullptr, nullptr, 2,
                                    file.c_str(), text.c_str(), 0, &identical),
                      -1);
        });
        EXPECT_EQ(read(file), branched);
    }
    const std::string said = test::messages_of([&] {
        EXPECT_EQ(tdm_store_ver(1, "v", "bA", 3, text.c_str(), nullptr, nullptr, 2, file.c_str(),
                                text.c_str(), 0, &identical),
                  -1);
    });
    EXPECT_EQ(said, "\"" + text + "\" is the same file as \"" + text +
                        "\", which is being read: nothing was written.\n");
    EXPECT_EQ(read(text), "A\n");
}

TEST_F(container, at_a_path_that_cannot_be_read_or_written_is_told) {
    const std::string file = write("c", branched);
    const std::string text = write("text", "A\n");
    const std::string below = text + "/none", folder = path(""), out = path("out");
    const std::pair<const char *, std::string> rows[] = {
        {nullptr, "\"(null)\": Bad address"},
        {below.c_str(), "\"" + below + "\": Not a directory"},
        {folder.c_str(), "\"" + folder + "\": Is a directory"},
    };
    for (const auto &row : rows) {
        const char *const bad = row.first;
        const std::string &words = row.second;
        const char *const c = file.c_str();
        const char *const o = out.c_str();
        const std::function<int()> calls[] = {
            [&] { return tdm_get_cont_info(bad, o); },
            [&] { return tdm_construct_ver(bad, o, "a1", 0); },
            [&] { return tdm_delete_versions_and_branches(bad, o, 0, nullptr, 0, nullptr); },
            [&] { return tdm_create_branch(1, "n", "v", o, "bA", nullptr, 1, bad); },
            [&] { return tdm_create_branch(1, "n", "v", bad, "bA", nullptr, 1, c); },
            [&] { return tdm_create_elem(1, "e", "b", "v", bad); },
        };
        for (const auto &call : calls) {
            const std::string told = test::messages_of([&] { EXPECT_NE(call(), 0) << words; });
            EXPECT_NE(told.find(words), std::string::npos) << &call - calls << ": " << told;
        }
    }
    const char *const none = nullptr;
    for (const auto &oids : {static_cast<const char *const *>(nullptr), &none}) {
        const std::string told = test::messages_of([&] {
            EXPECT_EQ(tdm_delete_versions_and_branches(file.c_str(), path("new").c_str(), 1, oids,
                                                       0, nullptr),
                      -1);
        });
        EXPECT_EQ(told, "The list of versions and branches to delete is not valid.\n");
    }
    EXPECT_EQ(read(file), branched);
}

TEST_F(container, what_would_damage_a_history_is_refused) {
    const std::string header = "^V v1 0 1 1\n^V v0 0 0 1\n^B b 0 0 0\n^E e\n";
    const std::string status = "^S db1 0\n";
    const std::string text = write("text", "A\nB\nC\n");
    const auto check_in = [&](const char *branch) {
        uint32_t identical = 0;
        return tdm_store_ver(1, "v2", branch, 2, path("new").c_str(), nullptr, "b", 1,
                             path("c").c_str(), text.c_str(), 0, &identical);
    };
    const auto add_branch = [&] {
        return tdm_create_branch(1, "n", "n0", path("new").c_str(), "b", nullptr, 1,
                                 path("c").c_str());
    };
    const struct {
        const char *name;
        std::string bytes, record;
    } rows[] = {
        {"last line without newline", status + header + "^I 0 1 2\nA\nB", "B"},
        {"element record without newline", status + header.substr(0, header.size() - 1), "^E e"},
        {"no branch number left", "^S db1 ffffffffffffffff\n" + header, "^S db1 ffffffffffffffff"},
        {"branch above the highest", status + "^B x 1 0 1\n" + header, "^S db1 0"},
    };
    for (const auto &row : rows) {
        const std::string expected =
            "Bad delta control record in '" + write("c", row.bytes) + "' :'" + row.record + "'\n";
        for (const auto &run : std::initializer_list<std::function<int()>>{
                 add_branch, [&] { return check_in("other"); }}) {
            EXPECT_EQ(test::messages_of([&] { EXPECT_EQ(run(), -1) << row.name; }), expected)
                << row.name;
        }
    }
    // What it prints into the container itself must not be read again and again. It says so, or it
    // could not be started.
    const std::string big =
        write("c", status + header + "^I 0 1 10000\n" + std::string(65536, '\n'));
    const std::string command =
        TDM_COMMAND " dump '" + big + "' >> '" + big + "' 2>'" + path("said") + "'";
    EXPECT_NE(system(("ulimit -f 4096; exec " + command).c_str()), 0);
    EXPECT_LT(std::filesystem::file_size(big), 70000U);
    EXPECT_NE(read(path("said")).find("tdm: "), std::string::npos);
}

TEST_F(container, deletion_keeps_or_drops_by_what_depends_on_it) {
    const std::string status = "^S db1 1\n";
    const std::string main = "^V a2 0 2 3\n^V a1 0 1 2\n^V a0 0 0 1\n^B bA 0 0 0\n^E el\n";
    const std::string branch = "^V b0 1 0 4\n^B bB 1 0 1\n";
    const std::string text = "^I 0 1 1\nA\n^I 0 2 1\nB\n";
    const std::string all = status + branch + main + text;
    const std::string without_a1 = "^V a2 0 2 3\n^#^V a1 0 1 2\n^V a0 0 0 1\n^B bA 0 0 0\n^E el\n";
    const std::string unlisted =
        "Internal error detected in \"lib/mgrs/text_file_delta/"
        "tdm_container\", line ";
    const struct {
        const char *name;
        std::string before;
        const char *first, *second;  // an oid in each list
        std::string after;           // the new container, or how the message begins
    } rows[] = {
        {"commented-out branch, version 0 its only survivor",
         status + "^V b0 1 0 4\n^#^B bB 1 0 1\n" + main + "^I 1 0 1\nZ\n" + text, nullptr, nullptr,
         status + "^V b0 1 0 4\n" + main + text},
        {"the same with version 1", status + "^V b1 1 1 4\n^#^B bB 1 0 1\n" + main, nullptr,
         nullptr, "Version 0x1 is still active on branch 0x1 in \""},
        {"a branch whose version 0 stays", all, "bB", nullptr,
         "Version 0x0 is still active on branch 0x1 in \""},
        {"a branch point", all, nullptr, "a1", status + branch + without_a1 + text},
        {"a branch and its only version", all, "b0", "bB", status + main + text},
        {"the last version of a branch", all, "b0", nullptr, status + main + text},
        {"a branch point deleted before its branch",
         status + branch + "^#^V a1 0 1 2\n^V a0 0 0 1\n^B bA 0 0 0\n^E el\n^I 0 1 1\nA\n", "b0",
         nullptr, status + "^V a0 0 0 1\n^B bA 0 0 0\n^E el\n"},
        {"what is commented out stays so once", status + without_a1 + text, nullptr, "a1",
         status + without_a1 + text},
        {"a kept run inside one that is dropped",
         status + main + "^I 0 2 2\nX\n^I 0 1 1\nY\n^D 0 2 1\n^Q ^Z\n^I 0 1 1\n^N W\n", "a2",
         nullptr, status + main.substr(main.find("^V a1")) + "^I 0 1 1\nY\n^I 0 1 1\n^N W\n"},
        {"records that the weave cannot have, and an element commented out",
         status + main.substr(0, main.find("^E")) +
             "^#^E el\n^I 0 1 1\n^#^V x 0 9 9\n^V y 0 9 9\nA\n",
         nullptr, nullptr, status + main + "^I 0 1 1\nA\n"},
        {"a run of no version", status + main + "^I 0 3 1\nA\n", nullptr, nullptr,
         unlisted + "292.\n"},
        {"a deletion of no version", status + main + "^D 1 0 1\n", nullptr, nullptr,
         unlisted + "2518.\n"},
        {"a line of no run", status + main + text + "C\n", nullptr, nullptr,
         "The container appears to be corrupted; it contains excess lines.\n"},
    };
    for (const auto &row : rows) {
        const std::string file = write("c", row.before);
        int result = 9;
        const std::string said = test::messages_of([&] {
            result = tdm_delete_versions_and_branches(file.c_str(), path("new").c_str(),
                                                      row.first == nullptr ? 0 : 1, &row.first,
                                                      row.second == nullptr ? 0 : 1, &row.second);
        });
        EXPECT_EQ(result, row.after[0] == '^' ? 0 : -1) << row.name;
        EXPECT_EQ(result == 0 ? read(path("new")) : said.substr(0, row.after.size()), row.after)
            << row.name;
    }
}

TEST_F(container, listing_and_dump_are_as_written_down) {
    const std::string file =
        write("c",
              "^S db1 1\n^V verC 1 0 c\n^B brB 1 0 1\n^V verB 0 1 b\n^#^V verX 0 9 1\n"
              "^V verA 0 0 1234567890a\n^B brA 0 0 0\n^E elemX\n"
              "^I 0 1 4\nplain\n^Q ^quoted\n^T old\n^N \7last\1\n^D 1 1 1\n");
    ASSERT_EQ(tdm_get_cont_info(file.c_str(), path("info").c_str()), 0);
    EXPECT_EQ(read(path("info")),
              "V verC 0 brB 0000000C\nB brB brA verB 1 NIL\nV verB 1 brA 0000000B\n"
              "V verA 0 brA 4567890A\nB brA NIL NIL NIL NIL\nE elemX brA NIL\n");
    testing::internal::CaptureStdout();
    const std::string said =
        test::messages_of([&] { EXPECT_EQ(tdm_dump_container(file.c_str(), 1), 0); });
    fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              read(TDM_SOURCE_DIR "/tests/golden/dump.txt"));
    EXPECT_EQ(said, file + " line 13: Unprintable character found in text: '\\007'\n");
}

TEST_F(container, listing_and_dump_refuse_bad_records) {
    const std::string header = "^S db1 0\n^V v1 0 1 1\n^B b 0 0 0\n^E e\n";
    const std::string oid_100(100, 'o');
    const std::string oid_112(112, 'o');
    const struct {
        const char *name;
        std::string bytes;
        bool info, dump;
        std::string message;
    } rows[] = {
        {"second status", header + "^S db1 0\n", true, true,
         "CONTAINER_STATUS must be first record in file.\nc line 5: Bad control record: ^S db1 "
         "0\n"},
        {"unknown kind in the weave", header + "^x\n", true, true,
         "c line 5: Bad control record: ^x\n"},
        {"bad run", header + "^I 0 1\n", false, true, "c line 5: Bad control record: ^I 0 1\n"},
        {"bad branch", "^S db1 0\n^B b 0\n^E e\n", true, true,
         "c line 2: Bad control record: ^B b 0\n"},
        {"oid of 100 bytes", "^S db1 0\n^E " + oid_100 + "\n", true, false,
         "c line 2: Bad control record: ^E " + oid_100 + "\n"},
        {"oid of 112 bytes", "^S db1 0\n^E " + oid_112 + "\n", true, true,
         "c line 2: Bad control record: ^E " + oid_112 + "\n"},
        {"no element record", "^S db1 0\n", true, false, "Unexpected end-of-file reading \"c\".\n"},
    };
    for (const auto &row : rows) {
        write("c", row.bytes);
        const std::string info = test::messages_of(
            [&] { EXPECT_EQ(tdm_get_cont_info("c", "out"), row.info ? -1 : 0) << row.name; });
        EXPECT_EQ(info, row.info ? row.message : "") << row.name;
        testing::internal::CaptureStdout();
        const std::string dump = test::messages_of(
            [&] { EXPECT_EQ(tdm_dump_container("c", 0), row.dump ? 1 : 0) << row.name; });
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(dump, row.dump ? row.message : "") << row.name;
    }
}

}  // namespace
