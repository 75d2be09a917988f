// The text that a check-out replaces: it may go when a version of the container keeps it.
#ifndef NORVIK_REPLACED_TEXT_H
#define NORVIK_REPLACED_TEXT_H

#include "container_view.h"
#include "file_lock.h"

namespace norvik {

class replaced_text {
public:
    // The container that is checked out from, which must outlive this.
    explicit replaced_text(const container_view &view) : view_(view) {}

    // Whether nothing is lost when the locked file, which exists, goes: its bytes are those of a
    // version, `asked` or another one.
    result<> look(const locked_file &file, const version_record &asked);

    // Whether that is still so, for the moment before the file goes; without a look before it is.
    result<> look_again() const;

private:
    const container_view &view_;
    const locked_file *file_ = nullptr;
    const version_record *keeper_ = nullptr;  // the version that is the text
};

}  // namespace norvik

#endif
