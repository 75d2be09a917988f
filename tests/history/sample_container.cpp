#include "sample_container.h"

#include <gtest/gtest.h>

#include "memory_file.h"

norvik::container_view opened(std::string_view bytes) {
    norvik::memory_file file;
    EXPECT_FALSE(file.create("c") || file.write(bytes));
    auto view = norvik::open_container(file.descriptor(), "c");
    EXPECT_TRUE(view);
    return std::move(*view);
}

std::string spoiled_container(std::string_view from, std::string_view to) {
    std::string bytes = sound_container;
    const std::size_t at = bytes.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return bytes.replace(at, from.size(), to);
}
