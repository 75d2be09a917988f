// Whether a text is well formed in a codeset; a sequence cut short at the end is not.
#pragma once

#include <string_view>

namespace runtime {

bool is_ascii(std::string_view text);
bool is_utf_8(std::string_view text);
bool is_euc_jp(std::string_view text);
bool is_shift_jis(std::string_view text);

}  // namespace runtime
