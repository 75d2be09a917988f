#include <algorithm>
#include <cerrno>
#include <vector>

#include "support.h"

namespace {

using support::scratch_file;
using pieces = std::vector<std::string>;

/// The pieces that reading `text` backwards yields, by the contract alone.
pieces expected_pieces(const std::string &text, size_t most) {
    pieces expected;
    for (size_t end = text.size(); end > 0; end -= expected.back().size()) {
        const size_t begin = end > most ? end - most : 0;
        const std::string piece = text.substr(begin, end - begin);
        const size_t newline = piece.substr(0, piece.size() - 1).rfind('\n');
        expected.push_back(newline == std::string::npos ? piece : piece.substr(newline + 1));
    }
    return expected;
}

pieces read_backwards(FILE *stream, size_t size) {
    pieces read;
    std::vector<char> buffer(size);
    bw_reader *reader = futil_bw_start(stream, 1);
    int stored = -1, at_start = -1;
    while (futil_bw_fgets(buffer.data(), static_cast<int>(size), reader, &stored, &at_start) !=
           nullptr) {
        EXPECT_EQ(at_start, 0);
        EXPECT_EQ(buffer[static_cast<size_t>(stored)], '\0');
        read.emplace_back(buffer.data(), static_cast<size_t>(stored));
    }
    EXPECT_NE(at_start, 0);
    futil_bw_stop(reader);
    return read;
}

std::string lines_of(std::initializer_list<size_t> lengths) {
    std::string text;
    for (const size_t length : lengths) {
        text += std::string(length, static_cast<char>('a' + text.size() % 26)) + '\n';
    }
    return text;
}

TEST(BackwardReader, lines_and_pieces_meet_at_every_boundary) {
    const std::string texts[] = {
        "",
        "x",
        "\n\n\nno newline",
        std::string("nul\0in\0side\nnext\n", 17),
        lines_of({4093, 4094, 4095, 4096, 4097, 8190, 8191, 0, 0}),
        lines_of({65534, 10, 65535, 10, 65536, 10, 65537, 200000}),
        lines_of({10, 131072 - 12}) + "tail",
        std::string(70000, '\n') + lines_of({1, 2, 3}),
    };
    for (const std::string &text : texts) {
        const scratch_file file(text);
        for (const size_t size : {2U, 3U, 100U, 4096U, 300000U}) {
            EXPECT_TRUE(read_backwards(file.stream, size) == expected_pieces(text, size - 1))
                << text.substr(0, 20) << " of " << text.size() << " bytes, buffer of " << size;
        }
    }
}

TEST(BackwardReader, failures_are_told_apart_from_the_start_of_the_file) {
    const scratch_file file(lines_of({100, 100}));
    bw_reader *reader = futil_bw_start(file.stream, 1);
    ASSERT_EQ(ftruncate(file.descriptor, 50), 0);
    for (const auto &[size, reason] : {std::pair(1, EINVAL), {200, EIO}, {200, EIO}}) {
        char buffer[200];
        int at_start = -1;
        EXPECT_EQ(futil_bw_fgets(buffer, size, reader, nullptr, &at_start), nullptr);
        EXPECT_EQ(errno, reason);
        EXPECT_EQ(at_start, 0);
    }
    futil_bw_stop(reader);
}

}  // namespace
