// Which version VERSION names.
#include <gtest/gtest.h>

#include "sample_container.h"
#include "version_names.h"

namespace {

struct named_row {
    const char *text, *version;  // or why there is none
};

void expect_names(const std::string &container, std::initializer_list<named_row> rows) {
    const norvik::container_view view = opened(container);
    for (const named_row &row : rows) {
        const auto found = norvik::resolve_version(view, row.text);
        EXPECT_EQ(found ? version_name(view, (*found)->id) : found.failure().reason, row.version)
            << row.text;
    }
}

TEST(version_names, mean_one_version_or_say_why_not) {
    expect_names(sound_container,
                 {{"", "main@4"},
                  {"main", "main@4"},
                  {"main@2", "main@2"},
                  {"main@3", "version main@3 is deleted"},
                  {"main@9", "there is no version main@9"},
                  {"main@", "there is no version main@"},
                  {"main@2x", "there is no version main@2x"},
                  {"draft", "draft@2"},
                  {"ver5", "draft@1"},
                  {"ver3", "there is no version ver3"},
                  {"ver",
                   "there is no version ver (the beginning of an identifier has 4 "
                   "characters at least)"},
                  {"~", "main@2"},
                  {"main~1", "main@2"},
                  {"draft~1", "draft@1"},
                  {"main@2~1~1", "main@0"},
                  {"main~4", "there are only 3 versions before main@4 on its branch"},
                  {"main~x", "there is no version main~x"},
                  {"none~1", "there is no version none"}});
    // The highest number counts, not the latest time; the fourth version is deleted.
    expect_names(
        "^S db1 0\n^V v4 0 4 5000\n^#^V v3 0 3 10\n^V v2 0 2 1000\n^V v1 0 1 3000\n"
        "^V v0 0 0 0\n^B m~1 0 0 0\n^E e\n",
        {{"m~1@{@12288}", "m~1@2"},
         {"@{1970-01-01T01:08:16Z}", "m~1@2"},
         {"@{1970-01-01T01:08:15+01:00}", "m~1@0"},
         {"@{@99999}", "m~1@4"},
         {"m~1", "m~1@4"},
         {"m~1@{now}",
          "'now' is no time: give @SECONDS since 1970 or 2024-05-01T12:30:00Z (or "
          "+02:00)"}});
    // Names come before identifiers, these before their beginnings; an @ may be in a branch's name.
    expect_names(
        "^S db1 2\n^V idab2 2 1 5\n^B a@1 2 0 1\n^V b 1 1 4\n^B idab 1 0 1\n"
        "^V idab1 0 1 2\n^V idabc 0 0 1\n^B a 0 0 0\n^E e\n",
        {{"idab", "idab@1"},
         {"idab2", "a@1@1"},
         {"a@1", "a@1"},
         {"a@1@1", "a@1@1"},
         {"b", "idab@1"},
         {"", "which branch? there are several and none is called main"}});
    expect_names(
        "^S db1 1\n^B none 1 0 1\n^V same2 0 1 2\n^V same1 0 0 1\n^B a 0 0 0\n^E e\n",
        {{"same", "several versions begin with same"}, {"none", "branch none has no versions"}});
    expect_names("^S db1 0\n^V v0 0 0 1\n^B only\\ 0 0 0\n^E e\n", {{"", "only\\@0"}});
}

}  // namespace
