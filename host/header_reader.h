// Reads the header of a container into the view's records.
#ifndef TDM_HOST_HEADER_READER_H
#define TDM_HOST_HEADER_READER_H

#include "container_view.h"

namespace host {

// Fills in everything of `view` that comes after its bytes. Reads on behind a damage, so that all
// of them are told and the sound records can be used; gives up on a file that is no container.
void read_header(container_view *view);

}  // namespace host

#endif
