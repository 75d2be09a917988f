// tdm_create_elem: the container of a new element, four records and an empty weave.
#include "tdm_container/codec.h"
#include "tdm_container/container_file.h"

int tdm_create_elem(uint64_t create_time, const char *element_oid, const char *branch_oid,
                    const char *version_oid, const char *container_path) {
    if (tdm::check_oid(element_oid) != 0 || tdm::check_oid(branch_oid) != 0 ||
        tdm::check_oid(version_oid) != 0) {
        return tdm::status_failed;
    }
    tdm::text_output container;
    const int opened =
        tdm::open_new_container(&container, container_path, "create_element", nullptr, nullptr);
    if (opened != 0) {
        return opened;
    }
    line_stream *const out = &container.out;
    if (tdm_cntutl_encode_status(out, format::known_format, 0) != 0 ||
        tdm_cntutl_encode_cre_ver(out, version_oid, 0, 0, create_time) != 0 ||
        tdm_cntutl_encode_cre_bra(out, branch_oid, 0, 0, 0) != 0 ||
        tdm_cntutl_encode_cre_ele(out, element_oid) != 0) {
        return tdm::status_failed;
    }
    return tdm::finish_output(&container);
}
