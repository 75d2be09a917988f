// The library writes the new container, under a path of ours; nothing of what it says is believed
// before the bytes have been read back (proof.h). A failure leaves the old container, and the
// temporary file goes with the replacement.
#include "version_store.h"

#include <norviktdm/tdm.h>

#include "new_branch.h"
#include "proof.h"
#include "record_text.h"

namespace norvik {

namespace {

result<> prove_version(const container_change &change, const checkin_plan &plan,
                       const new_version &fresh, std::string_view text, int descriptor) {
    const version_record version{fresh.oid, plan.id, fresh.time};
    const branch_record branch{plan.branch, plan.id.branch, plan.predecessor};
    const added_records added{plan.id.branch, plan.id.number,
                              status_record_text(change.old, plan.adds_branch) +
                                  version_record_text(version) +
                                  (plan.adds_branch ? branch_record_text(branch) : "")};
    const auto proven = prove_addition(change.old, descriptor, added);
    return proven ? prove_text(*proven, plan.id, text) : proven.failure();
}

// A new container is these four lines and nothing else.
result<> prove_element(const std::string &name, int descriptor, const std::string &expected) {
    file_bytes bytes;
    if (const std::error_code error = bytes.load(descriptor)) {
        return system_failure(name, "the new container cannot be read", error);
    }
    return bytes.view() == expected
               ? result<>()
               : refusal(name, "the new container is refused: it does not read back as written");
}

}  // namespace

result<bool> store_version(container_change *change, const checkin_plan &plan,
                           const new_version &fresh, const text_source &source, bool allow_same) {
    file_replacement &replacement = change->replacement;
    if (const auto begun = replacement.begin(); !begun) {
        return begun.failure();
    }
    std::uint32_t identical = 0;
    if (tdm_store_ver(fresh.time, fresh.oid.c_str(), plan.branch.c_str(), plan.id.number,
                      replacement.temporary_path().c_str(), nullptr, plan.base_branch.c_str(),
                      plan.predecessor.number, replacement.old_path().c_str(), source.path.c_str(),
                      0, &identical) != 0) {
        return refusal(change->old.name, "nothing is checked in");
    }
    // The library tells equal texts by the numbers of the two versions, which says nothing where a
    // branch begins.
    if (!allow_same && (identical != 0 || plan.adds_branch) &&
        version_equals(change->old, plan.predecessor, source.text)) {
        return false;
    }
    const auto done = replacement.commit([&](int descriptor) {
        return prove_version(*change, plan, fresh, source.text, descriptor);
    });
    return done ? result<bool>(true) : done.failure();
}

result<> store_branch(container_change *change, const std::string &name,
                      const version_record &point, const new_version &fresh) {
    file_replacement &replacement = change->replacement;
    const auto number = new_branch_number(change->old);
    if (!number) {
        return number.failure();
    }
    if (auto begun = replacement.begin(); !begun) {
        return begun;
    }
    const std::string parent(find_branch(change->old, point.id.branch)->oid);
    if (tdm_create_branch(fresh.time, name.c_str(), fresh.oid.c_str(),
                          replacement.temporary_path().c_str(), parent.c_str(), nullptr,
                          point.id.number, replacement.old_path().c_str()) != 0) {
        return refusal(change->old.name, "the branch is not made");
    }
    const version_record version{fresh.oid, {*number, 0}, fresh.time};
    const added_records added{*number, 0,
                              status_record_text(change->old, true) + version_record_text(version) +
                                  branch_record_text({name, *number, point.id})};
    return replacement.commit([&](int descriptor) -> result<> {
        const auto proven = prove_addition(change->old, descriptor, added);
        return proven ? result<>() : proven.failure();
    });
}

result<> store_element(file_replacement *output, const std::string &element,
                       const std::string &branch, const new_version &fresh) {
    const std::string &name = output->file().name;
    if (auto begun = output->begin(); !begun) {
        return begun;
    }
    if (tdm_create_elem(fresh.time, element.c_str(), branch.c_str(), fresh.oid.c_str(),
                        output->temporary_path().c_str()) != 0) {
        return refusal(name, "is not created");
    }
    const std::string expected = status_line(0) + version_line(fresh.oid, {0, 0}, fresh.time) +
                                 branch_line(branch, 0, {0, 0}) + element_line(element);
    return output->commit(
        [&](int descriptor) { return prove_element(name, descriptor, expected); });
}

}  // namespace norvik
