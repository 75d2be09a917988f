// What the tests of the services share: memory that can be made to fail, files and redirections.
#pragma once

#include <gtest/gtest.h>
#include <norviktdm/runtime.h>

#include <string>
#include <string_view>

#include "redirection.h"

namespace support {

/// The executable's mem_* functions take the place of the shared library's and count here.
struct memory_account {
    long live_blocks;
    long requests_until_failure;  // negative: never
};
extern memory_account memory;

}  // namespace support
