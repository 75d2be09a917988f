// tdm_create_branch: the container with one more branch. Version 0 of a branch has the text of the
// version it was made off, so the weave is copied as it is.
#include "messages/messages.h"
#include "tdm_container/codec.h"
#include "tdm_container/container_file.h"
#include "tdm_container/lineage.h"
#include "tdm_container/weave_walker.h"

namespace tdm {
namespace {

constexpr char operation[] = "create_branch";

/// Checks that the branch is new and gives it its number. A header record that cannot be decoded
/// ends the check, and with it the operation: nothing is built on a damaged header.
int number_new_branch(container_input *c, const char *branch_oid, uint64_t highest_branch,
                      uint64_t *branch) {
    branch_place place;
    const int found = find_branch_by_oid(c, branch_oid, true, &place);
    if (found == 0) {
        report_failure(message::branch_already_present, branch_oid, c->in.file_name);
    }
    return found != 2 ? 1 : next_branch_number(c, highest_branch, place.branch, branch);
}

}  // namespace
}  // namespace tdm

int tdm_create_branch(uint64_t create_time, const char *branch_oid, const char *version_oid,
                      const char *new_container_path, const char *parent_branch_oid,
                      const void * /*unused*/, uint64_t parent_version,
                      const char *container_path) {
    tdm::container_input old_container;
    if (const int opened = tdm::open_container(&old_container, container_path, tdm::operation)) {
        return opened;
    }
    uint64_t format = 0;
    uint64_t highest_branch = 0;
    uint64_t branch = 0;
    tdm::branch_place parent{};
    if (tdm::check_oid(branch_oid) != 0 || tdm::check_oid(version_oid) != 0 ||
        tdm::find_status_control_record(&old_container, &format, &highest_branch) != 0 ||
        tdm::number_new_branch(&old_container, branch_oid, highest_branch, &branch) != 0 ||
        tdm::rewind_container(&old_container) != 0 ||
        tdm::find_branch_by_oid(&old_container, parent_branch_oid, false, &parent) != 0) {
        return tdm::status_failed;
    }
    tdm::text_output new_container;
    if (const int opened = tdm::open_new_container(&new_container, new_container_path,
                                                   tdm::operation, &old_container, nullptr)) {
        return opened;
    }
    line_stream *const out = &new_container.out;
    if (tdm_cntutl_encode_status(out, format::known_format, branch) != 0 ||
        tdm_cntutl_encode_cre_ver(out, version_oid, branch, 0, create_time) != 0 ||
        tdm_cntutl_encode_cre_bra(out, branch_oid, branch, parent.branch, parent_version) != 0) {
        return tdm::status_failed;
    }
    if (const int status = tdm::skip_old_status(&old_container, 1)) {
        return status;
    }
    if (tdm::copy_structure_until_ctrl_kind(0, &old_container, &new_container) != 0) {
        return tdm::status_failed;
    }
    return tdm::finish_output(&new_container);
}
