#include "version_text.h"
#include "failure_words.h"

#include "escaped_text.h"
#include "exit_status.h"
#include "output.h"
#include "structure.h"

namespace norvik {

int load_version_text(const container_view &view, version_id id, const std::string &name,
                      text_file *out) {
    std::vector<version_id> lineage;
    if (!lineage_of(view, id, &lineage)) {
        say_of_file(view.name, "the branches of " + escape_name(name) + " cannot be followed");
        return status_trouble;
    }
    std::string text;
    const auto add = [&text](std::string_view piece) {
        text += piece;
        return true;
    };
    if (const std::optional<damage> found = walk_version(view, lineage, add)) {
        say_of_line(view.name, found->line, found->reason);
        return status_trouble;
    }
    return told(hold_text(name, text, out));
}

}  // namespace norvik
