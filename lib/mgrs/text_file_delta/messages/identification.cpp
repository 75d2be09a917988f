// Who this library is: its name, version and notice.
#include <array>
#include <cstddef>

#include "messages/messages.h"

namespace {

constexpr char library_name[] = "libnorviktdm";
// Both are given by the build: four dotted numbers; abbreviated weekday and month, day without
// padding, time and year.
constexpr char version[] = NORVIKTDM_VERSION;
constexpr char build_stamp[] = NORVIKTDM_BUILD_STAMP;
constexpr int name_width = 33;
constexpr char verid_format[] = "%-*s %s (%s)\n";

constexpr auto notice = std::to_array<const char *>({
    "|------------------------------------------------------------------------",
    "|                                                                       |",
    "| libnorviktdm, the text-file delta manager                             |",
    "| Copyright the libnorviktdm authors. All rights reserved.              |",
    "|                                                                       |",
    "| This library comes without any warranty. Keep a second copy of what   |",
    "| you cannot afford to lose.                                            |",
    "|                                                                       |",
    "------------------------------------------------------------------------|",
    nullptr,
});

constexpr bool notice_is_framed() {
    constexpr size_t line_length = 73;
    for (size_t i = 0; i + 1 < notice.size(); ++i) {
        size_t length = 0;
        while (notice[i][length] != '\0') {
            ++length;
        }
        if (length != line_length) {
            return false;
        }
    }
    return notice.size() == 10 && notice.back() == nullptr;
}
static_assert(notice_is_framed());

}  // namespace

const char *const *libnorviktdm_copyright_array(void) {
    return notice.data();
}

void libnorviktdm_print_verid(void) {
    msg_print(static_cast<int>(tdm::severity::report), verid_format, -1, name_width, library_name,
              version, build_stamp);
}

void libnorviktdm_sprintf_verid(char *buffer) {
    msg_sprintf(buffer, verid_format, -1, name_width, library_name, version, build_stamp);
}
