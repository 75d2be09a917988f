// The library's own merge behind the command: it decides block by block and reports, and the
// command looks at every region that comes out.
#ifndef NORVIK_LIBRARY_MERGE_H
#define NORVIK_LIBRARY_MERGE_H

#include "command_context.h"
#include "text_merge.h"

namespace norvik {

// Runs the merge in query mode `mq` on a run whose edits are the stream's own blocks. A region
// whose text comes out as one contributor's, the base's, or the accepted ones' after each other is
// decided so; any other would lose or double lines, and becomes a conflict. Results: status_done,
// status_negative when the merge was abandoned, status_trouble after a message.
[[nodiscard]] exit_status merge_by_library(const command_context &context,
                                           const merge_options &options, int mq, text_merge *run);

}  // namespace norvik

#endif
