// tdm_construct_ver: one version of the container as a plain or annotated file.
#include <cstring>

#include "messages/messages.h"
#include "tdm_container/codec.h"
#include "tdm_container/container_file.h"
#include "tdm_container/lineage.h"
#include "tdm_container/weave_walker.h"

namespace tdm {
namespace {

constexpr char operation[] = "construct_version";

/// Finds the living version with this oid in the header.
int find_version_by_oid(container_input *c, const char *oid, version_id *version) {
    for (;;) {
        bool at_eof = false;
        if (next_line(c, &at_eof) != 0) {
            return 1;
        }
        if (at_eof || is_record(c->line, format::kind_element)) {
            report_failure(message::no_such_version);
            return 1;
        }
        if (!is_record(c->line, format::kind_version)) {
            continue;
        }
        oid_buffer found;
        uint64_t created = 0;
        if (tdm_cntutl_decode_cre_ver(c->line.data(), found, &version->branch, &version->number,
                                      &created) != 0) {
            report_bad_record(c->in.file_name, c->line.data());
            return 1;
        }
        if (oid != nullptr && std::strcmp(found, oid) == 0) {
            return 0;
        }
    }
}

}  // namespace
}  // namespace tdm

int tdm_construct_ver(const char *container_path, const char *output_path, const char *version_oid,
                      uint32_t annotation_flags) {
    tdm::container_input container;
    if (const int opened = tdm::open_container(&container, container_path, tdm::operation)) {
        return opened;
    }
    uint64_t format = 0;
    uint64_t highest_branch = 0;
    tdm::version_id version{};
    tdm::lineage lineage;
    if (tdm::find_status_control_record(&container, &format, &highest_branch) != 0 ||
        tdm::find_version_by_oid(&container, version_oid, &version) != 0 ||
        tdm::construct_lineage(&container, version, false, version, &lineage) != 0) {
        return tdm::status_failed;
    }
    if (output_path != nullptr && *output_path != '\0') {
        sys_nfs_flush(output_path);
    }
    tdm::text_output output;
    if (const int opened =
            tdm::open_output(&output, output_path, tdm::operation, &container, nullptr)) {
        return opened;
    }
    if (tdm::copy_until_n_lines(false, annotation_flags, tdm::all_lines, &lineage, &container,
                                &output) != 0) {
        return tdm::status_failed;
    }
    return tdm::finish_output(&output);
}
