#include "sample_container.h"

#include <gtest/gtest.h>

#include "files.h"

norvik::container_view opened(std::string_view bytes) {
    const scratch_folder folder;
    write_file("c", bytes);
    norvik::container_view view;
    EXPECT_EQ(norvik::open_container(std::string("c"), &view), 0);
    return view;
}

std::string spoiled_container(std::string_view from, std::string_view to) {
    std::string bytes = sound_container;
    const std::size_t at = bytes.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return bytes.replace(at, from.size(), to);
}
