// Reads the header of a container.
#ifndef TDM_HOST_HEADER_READER_H
#define TDM_HOST_HEADER_READER_H

#include <string_view>

#include "header_records.h"

namespace host {

// Fills in `header`, empty before, from the bytes of a container, which must outlive it. Reads on
// behind a damage, so that all of them are told and the sound records can be used; gives up on a
// file that is no container.
void read_header(std::string_view container, container_header *header);

}  // namespace host

#endif
