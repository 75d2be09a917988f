// Writes a weave again without lines that no surviving version holds.
//
// A line taken out takes one off the count of its run, and one off every deletion that counts it;
// records that come to count nothing go as well. A surviving version does not hold the line for one
// of two reasons: it does not have the run, which then counts one line less to pass over; or the
// oldest of its deletions over the line hides it, and that one counts it, since the version before
// that deletion holds the line. So what it reads stays the same.
#ifndef TDM_HOST_WEAVE_REWRITE_H
#define TDM_HOST_WEAVE_REWRITE_H

#include <functional>
#include <string_view>
#include <vector>

#include "container_view.h"
#include "output.h"
#include "version_tree.h"

namespace host {

// Which versions survive, by position, and how many of them a range holds.
class survivor_set {
public:
    explicit survivor_set(const std::vector<bool> &alive);
    [[nodiscard]] bool any_in(position_range range) const {
        return before_[range.first] != before_[range.end];
    }

private:
    std::vector<uint32_t> before_;
};

struct rewrite_plan {
    // Whether a line that no survivor holds is taken out; `text` as a version reads it.
    std::function<bool(std::string_view text)> takes_out;
    // Whether records that no survivor has in its lineage are taken out although they count lines.
    bool take_out_dead_records = false;
};

// Writes what stays of the weave to `out`; whatever belongs to no run is left out too. One pass
// over the weave, and one over what stays of it.
void rewrite_weave(const container_view &view, const version_tree &tree,
                   const survivor_set &survivors, const rewrite_plan &plan, output_writer *out);

}  // namespace host

#endif
