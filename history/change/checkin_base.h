// What the text of a check-in was made from, and whether others have stored since.
#ifndef NORVIK_CHECKIN_BASE_H
#define NORVIK_CHECKIN_BASE_H

#include <string>

#include "checkin_plan.h"
#include "container_view.h"

namespace norvik {

struct command_declaration;

struct base_options {
    std::string base;  // the version that FILE was made from; empty: the one that FILE names
    bool no_base = false;
    bool merge = false;
    bool update = false;

    void declare(command_declaration &command);
    // Refuses what does not go together, `file` being the text's name; 0, or status_trouble.
    [[nodiscard]] int check_usage(const std::string &file) const;
};

// What a check-in is measured against.
struct checkin_base {
    const version_record *base = nullptr;    // what the text was made from; null: not known
    const version_record *newest = nullptr;  // the version it must be; null: the branch has none
    bool current = true;                     // nothing has come since, as far as is known
};

// Finds both: `named` is the identifier on FILE, empty for none. One that the container lacks is
// told and passed over. 0, or status_trouble after a message: no such version, or no base for a
// merge.
[[nodiscard]] int find_checkin_base(const container_view &view, const checkin_plan &plan,
                                    const base_options &options, const std::string &file,
                                    const std::string &named, checkin_base *out);

// Says what has come since, and what may be done; returns status_negative.
[[nodiscard]] int refuse_outdated(const container_view &view, const checkin_base &found,
                                  const std::string &file);

}  // namespace norvik

#endif
