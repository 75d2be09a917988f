#include "import_list.h"

#include <string_view>

#include "exit_status.h"
#include "failure_words.h"
#include "input_text.h"
#include "output.h"
#include "time_text.h"

namespace norvik {

exit_status read_import_list(const std::string &name, std::vector<import_item> &items) {
    input_text input;
    if (told(input.read(name)) != status_done) {
        return status_trouble;
    }
    std::string_view rest = input.text();
    for (std::uint64_t number = 1; !rest.empty(); number++) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        // The last one: a name may hold blanks, a time here none.
        const std::size_t blank = line.rfind(' ');
        std::uint64_t time = 0;
        if (blank == std::string_view::npos || blank == 0 ||
            !parse_time(line.substr(blank + 1), time)) {
            say_of_line(name, number, "not a name, a blank and a time");
            return status_trouble;
        }
        items.push_back({std::string(line.substr(0, blank)), time});
    }
    return status_done;
}

}  // namespace norvik
