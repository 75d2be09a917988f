// The containers that docs/format.md shows are what the library writes.
#include "support.h"

namespace {

class format_example : public test::scratch {
protected:
    // The n-th fenced block marked "container" of the document.
    static std::string block(int n) {
        const std::string document = read(TDM_SOURCE_DIR "/docs/format.md");
        const std::string fence = "\n```container\n";
        size_t begin = 0;
        for (int found = 0; found < n; ++found) {
            begin = document.find(fence, begin);
            if (begin == std::string::npos) {
                return "there is no such block";
            }
            begin += fence.size();
        }
        return document.substr(begin, document.find("```", begin) - begin);
    }

    void store(uint64_t time, const char *oid, const char *branch, uint64_t number,
               std::string_view text) {
        uint32_t identical = 0;
        const std::string from = path("c" + std::to_string(files_));
        const std::string to = path("c" + std::to_string(++files_));
        ASSERT_EQ(tdm_store_ver(time, oid, branch, number, to.c_str(), nullptr, nullptr, number - 1,
                                from.c_str(), write("text", text).c_str(), 0, &identical),
                  0);
    }

    int files_ = 0;
};

TEST_F(format_example, is_what_the_library_writes) {
    ASSERT_EQ(tdm_create_elem(0x65000000, "fruit", "main", "m0", path("c0").c_str()), 0);
    store(0x65000010, "m1", "main", 1, "apple\nbanana\n^cherry\n");
    store(0x65000020, "m2", "main", 2, "apple\nblueberry\n^cherry\nfig");
    const std::string before = path("c2");
    files_ = 3;
    ASSERT_EQ(tdm_create_branch(0x65000030, "draft", "d0", path("c3").c_str(), "main", nullptr, 1,
                                before.c_str()),
              0);
    store(0x65000040, "d1", "draft", 1, "apple\nbanana\nbread\n^cherry\n");
    EXPECT_EQ(read(path("c4")), block(1));

    const char *const gone[] = {"m1", "d1"};
    ASSERT_EQ(tdm_delete_versions_and_branches(path("c4").c_str(), path("c5").c_str(), 2, gone, 0,
                                               nullptr),
              0);
    EXPECT_EQ(read(path("c5")), block(2));
}

}  // namespace
