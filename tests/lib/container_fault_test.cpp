// Every container operation with the n-th call of a host service failing, for every n: a documented
// status, at most one report, nothing leaked, the old container untouched, and a result of 0 only
// with the right output.
#include <functional>

#include "faulty_services.h"
#include "support.h"

namespace {

using test::service;

constexpr service services[] = {service::memory,         service::hash_enter, service::stat,
                                service::temporary_file, service::sync,       service::nfs_flush};

struct operation {
    const char *name;
    std::string meets;  // one letter a service that it calls, in the order above
    std::function<int(const char *from, const char *to)> run;
};

class container_faults : public test::scratch {
protected:
    void SetUp() override {
        container_ = write("container", original);
        text_ = write("text", "A\n^new\nB\nC\nlast");
        before_ = std::filesystem::temp_directory_path();
        setenv("TMPDIR", path("").c_str(), 1);
    }
    void TearDown() override { setenv("TMPDIR", before_.c_str(), 1); }

    static size_t open_files() {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return static_cast<size_t>(std::distance(begin(all), end(all)));
    }

    /// Runs the operation with one failing call. @returns whether a call failed.
    bool run_failing(const operation &op, service which, int64_t n, const std::string &golden) {
        const std::string output = path("output");
        std::filesystem::remove(output);
        const int64_t blocks = test::live_blocks();
        const size_t files = open_files();
        bool met = false;
        int result = 0;
        const std::string said = test::messages_of([&] {
            const test::failing fault(which, n);
            result = op.run(container_.c_str(), output.c_str());
            met = test::failing::met();
        });
        const std::string where = std::string(op.name) + ", call " + std::to_string(n);
        if (result == 0) {
            EXPECT_EQ(read(output), golden) << where;
            EXPECT_EQ(said, "") << where;
            // Without a larger buffer a stream is only slower.
            EXPECT_TRUE(!met || which == service::memory || which == service::nfs_flush) << where;
        } else {
            EXPECT_TRUE(met) << where;
            EXPECT_LE(std::count(said.begin(), said.end(), '\n'), 1) << where << ": " << said;
        }
        EXPECT_EQ(read(container_), original) << where;
        EXPECT_EQ(test::live_blocks(), blocks) << where;
        EXPECT_EQ(open_files(), files) << where;
        const size_t expected_files = std::filesystem::exists(output) ? 3 : 2;
        EXPECT_EQ(files_in_folder(), expected_files) << where << ": a temporary file is left";
        return met;
    }

    static constexpr char original[] =
        "^S db1 1\n^V b1 1 1 5\n^B bB 1 0 1\n^#^V a2 0 2 3\n^V a1 0 1 2\n^V a0 0 0 1\n"
        "^B bA 0 0 0\n^E el\n^I 0 1 3\nA\n^D 0 2 1\n^I 1 1 1\nX\nB\nC\n";
    std::string before_;
    std::string container_;
    std::string text_;
};

TEST_F(container_faults, leave_nothing_behind) {
    uint32_t identical = 0;
    const char *const oids[] = {"b1", "bB"};
    const operation operations[] = {
        {"create", "mf",
         [](const char *, const char *to) { return tdm_create_elem(1, "e", "b", "v", to); }},
        {"check-in", "mhstf",
         [&](const char *from, const char *to) {
             return tdm_store_ver(9, "a3", "bA", 3, to, nullptr, nullptr, 1, from, text_.c_str(), 0,
                                  &identical);
         }},
        {"branch", "mf",
         [](const char *from, const char *to) {
             return tdm_create_branch(9, "bC", "c0", to, "bA", nullptr, 1, from);
         }},
        {"construct", "mfn",
         [](const char *from, const char *to) { return tdm_construct_ver(from, to, "b1", 0); }},
        {"annotate", "mhfn",
         [](const char *from, const char *to) { return tdm_construct_ver(from, to, "b1", 7); }},
        {"delete", "mhf",
         [&](const char *from, const char *to) {
             return tdm_delete_versions_and_branches(from, to, 1, oids, 1, oids + 1);
         }},
        {"info", "mhf",
         [](const char *from, const char *to) { return tdm_get_cont_info(from, to); }},
    };
    for (const operation &op : operations) {
        ASSERT_EQ(op.run(container_.c_str(), path("output").c_str()), 0) << op.name;
        const std::string golden = read(path("output"));
        ASSERT_NE(golden, "") << op.name;
        std::string met;
        for (const service which : services) {
            int64_t n = 0;
            while (n < 1000 && run_failing(op, which, n, golden)) {
                ++n;
            }
            EXPECT_LT(n, 1000) << op.name;
            met += n == 0 ? "" : std::string(1, "mhstfn"[static_cast<int>(which)]);
        }
        EXPECT_EQ(met, op.meets) << op.name;
    }
}

TEST_F(container_faults, failed_close_is_told_beside_the_failure_before_it) {
    const std::string closed = "Trouble accessing file \"/dev/full\": No space left on device\n";
    const std::string excess = write("excess", original + std::string("stray\n"));
    const std::string binary = write("binary", std::string("a\0b\n", 4));
    uint32_t identical = 0;
    for (const auto &run : std::initializer_list<std::function<int()>>{
             [&] {
                 return tdm_delete_versions_and_branches(excess.c_str(), "/dev/full", 0, nullptr, 0,
                                                         nullptr);
             },
             [&] {
                 return tdm_store_ver(9, "a9", "bA", 9, "/dev/full", nullptr, nullptr, 0,
                                      container_.c_str(), binary.c_str(), 0, &identical);
             }}) {
        const std::string told = test::messages_of([&] { EXPECT_EQ(run(), -1); });
        EXPECT_TRUE(told.ends_with(closed)) << told;
        EXPECT_GT(told.size(), closed.size());
    }
}

}  // namespace
