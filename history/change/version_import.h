// Many files, each the next version, in one run: woven into one weave in memory (version_weaver.h),
// which is written once, proven version by version and put in the container's place.
#ifndef NORVIK_VERSION_IMPORT_H
#define NORVIK_VERSION_IMPORT_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "checkin_plan.h"
#include "container_change.h"
#include "input_text.h"
#include "version_weaver.h"

namespace norvik {

struct import_item {
    std::string path;  // "-": standard input
    std::uint64_t time;
};

class version_import {
public:
    // Called with the number of steps that are done; each item is a step of both calls below.
    using progress_sink = std::function<void(std::uint64_t done)>;

    // Into the locked container, as planned for all items; `plain`: without digests. All must
    // outlive the object.
    version_import(container_change *change, const checkin_plan &plan,
                   const std::vector<import_item> &items, bool plain = false)
        : change_(change), items_(items), plain_(plain), weaver_(change, plan) {}

    // Reads and weaves the files. One with the text of the version before is told and passed over,
    // unless `allow_same`.
    result<> weave(bool allow_same, const notice_sink &tell, const progress_sink &at);

    // How many of the items are versions now, numbered from the plan's `id` on.
    [[nodiscard]] std::size_t count() const { return sources_.size(); }

    // Writes the container, reads every version back, compares it with its file, which is read
    // again, and puts the container in place: all or nothing.
    result<> commit(const progress_sink &at);

private:
    // Where a version came from: its file is read again for the proof, or what was read from a pipe
    // is kept for it.
    struct version_source {
        const std::string *path;
        std::shared_ptr<const input_text> kept;
        owned_descriptor file;
    };

    result<> add(const import_item &item, const std::shared_ptr<input_text> &next);
    result<> prove(const container_view &fresh, const library_proof &library,
                   const progress_sink &at) const;

    container_change *change_;
    const std::vector<import_item> &items_;
    bool plain_;
    version_weaver weaver_;
    std::vector<version_source> sources_;  // of the weaver's versions
};

}  // namespace norvik

#endif
