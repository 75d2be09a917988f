#include "tdm_session/line_reader.h"

#include <random>

#include "seeds.h"
#include "support.h"
#include "tdm_container/container_file.h"

namespace {

struct open_file {
    explicit open_file(const std::string &path, int32_t flag = 0, const char *op = nullptr) {
        in.stream = fopen(path.c_str(), "r");
        in.file_name = "FILE";
        in.op_is_operation = flag;
        in.op_name = op;
        in.file_size = std::filesystem::file_size(path);
    }
    open_file(const open_file &) = delete;
    open_file &operator=(const open_file &) = delete;
    ~open_file() {
        fclose(in.stream);
        mem_free(in.line);
    }

    line_stream in{};
};

class line_reader : public test::scratch {
protected:
    /// The lines of a file as the reader gives them, "!" where it refuses.
    std::vector<std::string> lines(const std::string &bytes, const line_stream &buffer = {}) {
        const open_file file(write("f", bytes));
        line_stream in = file.in;
        in.line = buffer.line;
        in.capacity = buffer.capacity;
        std::vector<std::string> all;
        for (;;) {
            int at_eof = -1;
            if (tdm_read_long_line(&in, &at_eof) != 0) {
                all.emplace_back("!");
                break;
            }
            if (at_eof != 0) {
                EXPECT_STREQ(in.line, "");
                break;
            }
            all.emplace_back(in.line);
        }
        mem_free(in.line);
        return all;
    }
};

std::string repeat(size_t n) {
    return std::string(n, 'x');
}

TEST_F(line_reader, keeps_newlines_and_finds_the_limits) {
    using list = std::vector<std::string>;
    const std::string longest = repeat(8000);
    const struct {
        const char *name;
        std::string bytes;
        list expected;
    } rows[] = {
        {"empty file", "", {}},
        {"no final newline", "a\nb", {"a\n", "b"}},
        {"longest line", longest + "\nb\n", {longest + "\n", "b\n"}},
        {"longest line without newline", longest, {longest}},
        {"one byte more", longest + "x\n", {"!"}},
        {"one byte more, no newline", longest + "x", {"!"}},
        {"longest stored line without newline", "^N " + longest + "\n", {"^N " + longest + "\n"}},
        {"one more than that", "^N x" + longest + "\n", {"!"}},
        {"quoted lines have no allowance", "^Q " + longest + "\n", {"!"}},
        {"an allowance once given stays",
         "^N " + longest + "\n" + repeat(8003) + "\n",
         {"^N " + longest + "\n", repeat(8003) + "\n"}},
        {"NUL in the middle", std::string("a\nb\0c\nd\n", 8), {"a\n", "!"}},
        {"NUL in the last line", std::string("a\nb\0c", 5), {"a\n", "!"}},
        {"NUL first", std::string("\0\n", 2), {"!"}},
        {"stale newline behind a shorter last line", "aaaa\nb", {"aaaa\n", "b"}},
    };
    for (const auto &row : rows) {
        test::messages_of([&] { EXPECT_EQ(lines(row.bytes), row.expected) << row.name; });
    }
}

TEST_F(line_reader, explains_refusals_by_operation) {
    const std::string nul = "\"FILE\" is not a 'text file': it contains a '\\000'.\n";
    const std::string other_manager = "Use a different type manager (such as compressed file).\n";
    const struct {
        int32_t flag;
        const char *op;
        std::string expected;
    } rows[] = {
        {0, nullptr, "This program does not support diff/merge of binary data.\n"},
        {0, "prog", "prog does not support diff/merge of binary data.\n"},
        {1, nullptr, "This program does not support diff/merge of binary data.\n"},
        {1, "create_version",
         "This object's type does not support check-in of binary data.\n" + other_manager},
        {1, "guidiff", "This object's type does not support diff/merge of binary data.\n"},
        {1, "compares",
         "This object's type (operation \"compares\") does not support binary data.\n"},
    };
    const std::string path = write("f", std::string("a\0b\n", 4));
    for (const auto &row : rows) {
        open_file file(path, row.flag, row.op);
        int at_eof = 0;
        EXPECT_EQ(test::messages_of([&] { EXPECT_EQ(tdm_read_long_line(&file.in, &at_eof), 1); }),
                  nul + row.expected);
    }
    open_file longer(write("g", repeat(8001)));
    int at_eof = 0;
    EXPECT_EQ(test::messages_of([&] { EXPECT_EQ(tdm_read_long_line(&longer.in, &at_eof), 1); }),
              "\"FILE\" is not a 'text file': it contains a line exceeding 8000 bytes.\n" +
                  other_manager);
}

// Containers are read in blocks; what is a line, and what is refused, must be the same.
TEST_F(line_reader, blocks_give_the_lines_of_the_line_reader) {
    const std::string_view starts[] = {"", "^N ", "^Q "};
    for (const unsigned seed : seeds(40)) {
        std::mt19937 random(seed);
        std::string bytes;
        while (bytes.size() < 140000) {
            const bool at_limit = random() % 4 == 0;
            bytes += starts[random() % 3];
            bytes += repeat(at_limit ? 7990 + random() % 14 : random() % 3000);
            bytes += random() % 200 == 0 ? std::string(1, '\0') : "";
            bytes += '\n';
        }
        // Lines of the limit's length that end where a block does, and at the end of the file.
        bytes.resize(random() % 2 == 0 ? bytes.size() : 131072 + random() % 10);
        std::vector<std::string> expected;
        std::vector<std::string> found;
        test::messages_of([&] {
            line_stream first{};
            first.capacity = 256;
            first.line = static_cast<char *>(mem_malloc(256));
            expected = lines(bytes, first);
            const std::string file = path("f");
            tdm::container_input c;
            ASSERT_EQ(tdm::open_container(&c, file.c_str(), "test"), 0);
            for (bool at_eof = false; !at_eof;) {
                if (tdm::next_line(&c, &at_eof) != 0) {
                    found.emplace_back("!");
                    break;
                }
                if (!at_eof) {
                    found.emplace_back(c.line);
                }
            }
        });
        ASSERT_EQ(found, expected);
    }
}

}  // namespace
