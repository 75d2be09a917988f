// Where a version does not agree with its digest, its damaged line may be in versions without one,
// and would be sealed in with them: then nothing is sealed.
#include "seal.h"

#include "container_check.h"
#include "proof.h"

namespace norvik {

result<seal_plan> plan_seal(const container_view &view) {
    const container_check check = check_container(view, fingerprints::bytes, {});
    seal_plan plan;
    for (const weave_fault &fault : check.faults) {
        if (!fault.is_sum) {
            return damaged(view, fault.what);
        }
        plan.faults.push_back(fault.what);
    }
    if (!plan.faults.empty()) {
        return plan;
    }
    record_sums sums(view);
    const char *at = view.bytes.view().data();
    for (const version_record &version : view.versions) {
        if (version.deleted || version.sum) {
            continue;
        }
        const std::uint32_t position = position_of(check.scan.tree, version.id);
        const auto sum = sums.of(version, check.scan.totals[position].offset);
        if (!sum) {
            return refusal(view.name, version_name(view, version.id) + " is of no readable branch");
        }
        const std::string_view rest(
            version.oid.data(),
            view.weave_offset -
                static_cast<std::size_t>(version.oid.data() - view.bytes.view().data()));
        const char *end = version.oid.data() + rest.find('\n');
        plan.header.append(at, end).append(" ").append(sum_word(*sum));
        plan.versions.insert(version.id);
        at = end;
    }
    plan.header.append(at, view.bytes.view().data() + view.weave_offset);
    return plan;
}

result<> seal_container(const container_view &old, const seal_plan &plan,
                        file_replacement *replacement) {
    if (auto begun = replacement->begin(); !begun) {
        return begun;
    }
    if (auto written = replacement->write(plan.header +
                                          std::string(old.bytes.view().substr(old.weave_offset)));
        !written) {
        return written;
    }
    return replacement->commit([&](int descriptor) -> result<> {
        const auto proven = prove_records(old, descriptor, plan.versions);
        if (!proven) {
            return proven.failure();
        }
        return count_without_sum(*proven) == 0
                   ? result<>()
                   : refusal(old.name, "the new container is refused: a digest is missing");
    });
}

}  // namespace norvik
