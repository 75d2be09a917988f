// What a pass over the whole container finds, as data.
//
// The facts of a version stand where its record stands in the header, so that one is found from the
// other without a search.
#include <memory>

#include "container.h"
#include "container_check.h"
#include "texts.h"

struct norvik_verdict {
    const norvik_container *container = nullptr;
    norvik::container_check check;  // has the reasons
    std::vector<norvik_complaint> complaints;
    std::vector<norvik_version_facts> facts;  // as the container's versions
};

namespace norvik::face {
namespace {

norvik_version_facts facts_of(const container_check &check, const version_record &version,
                              bool digests) {
    const std::uint32_t position = position_of(check.scan.tree, version.id);
    if (position == no_position) {
        return {0, 0, 0, 0, 0, 1};
    }
    const text_step &text = check.scan.totals[position];
    const change_counts &changes = check.scan.changes[position];
    return {text.lines,
            text.bytes,
            changes.added,
            changes.deleted,
            digests ? text.offset : 0,
            is_trusted(check, version) ? 0 : 1};
}

norvik_error *verify(const norvik_container *container, std::uint32_t flags,
                     norvik_progress progress, void *user, norvik_verdict **out) {
    if (container == nullptr || (flags & ~std::uint32_t{norvik_with_digests}) != 0) {
        return refuse(container == nullptr ? "there is no container"
                                           : "unknown flags of a verification");
    }
    const container_view &view = container->view;
    const bool digests = (flags & norvik_with_digests) != 0;
    auto verdict = std::make_unique<norvik_verdict>();
    verdict->container = container;
    scan_progress told;
    if (progress != nullptr) {
        told = [&](std::uint64_t bytes) {
            progress(user, view.weave_offset + bytes, view.bytes.view().size());
        };
    }
    verdict->check =
        check_container(view, digests ? fingerprints::bytes : fingerprints_to_check(view), told);
    for (const weave_fault &fault : verdict->check.faults) {
        verdict->complaints.push_back({fault.what.line, fault.what.reason.c_str()});
    }
    for (const version_record &version : view.versions) {
        verdict->facts.push_back(facts_of(verdict->check, version, digests));
    }
    *out = verdict.release();
    return nullptr;
}

}  // namespace
}  // namespace norvik::face

using namespace norvik;

norvik_error *norvik_verify(norvik_container *container, std::uint32_t flags,
                            norvik_progress progress, void *user, norvik_verdict **out) {
    return face::giving(out, [&] { return face::verify(container, flags, progress, user, out); });
}

std::size_t norvik_complaint_count(const norvik_verdict *verdict) {
    return verdict == nullptr ? 0 : verdict->complaints.size();
}

const norvik_complaint *norvik_complaint_at(const norvik_verdict *verdict, std::size_t index) {
    return verdict == nullptr ? nullptr : face::at(verdict->complaints, index);
}

const norvik_version_facts *norvik_facts_of(const norvik_verdict *verdict,
                                            const norvik_version *version) {
    const version_record *record =
        verdict == nullptr ? nullptr : face::record_of(verdict->container, version);
    return record == nullptr
               ? nullptr
               : face::at(verdict->facts, static_cast<std::size_t>(
                                              record - verdict->container->view.versions.data()));
}

void norvik_verdict_free(norvik_verdict *verdict) {
    delete verdict;
}
