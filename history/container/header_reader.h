// Reads the header of a container.
#ifndef NORVIK_HEADER_READER_H
#define NORVIK_HEADER_READER_H

#include <string_view>

#include "header_records.h"

namespace norvik {

// Fills in `header`, empty before, from the bytes of a container, which must outlive it. Reads on
// behind a damage, so that all of them are told and the sound records can be used; gives up on a
// file that is no container.
void read_header(std::string_view container, container_header *header);

}  // namespace norvik

#endif
