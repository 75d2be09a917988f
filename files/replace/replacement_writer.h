// Many pieces, large and small, into the temporary file of a replacement.
#ifndef NORVIK_REPLACEMENT_WRITER_H
#define NORVIK_REPLACEMENT_WRITER_H

#include <string>
#include <string_view>

#include "file_replace.h"

namespace norvik {

// Gathers small pieces, so that none costs a call of the system. After a failure pieces are passed
// over; finish tells it.
class replacement_writer {
public:
    // After the replacement's begin.
    explicit replacement_writer(const file_replacement &target) : target_(target) {}

    void add(std::string_view piece) {
        if (gathered_.size() + piece.size() > most_gathered) {
            flush();
        }
        if (piece.size() > most_gathered) {
            write(piece);
        } else {
            gathered_ += piece;
        }
    }

    // Writes what is left; the first failure of all, if there was one.
    result<> finish() {
        flush();
        return written_;
    }

private:
    static constexpr std::size_t most_gathered = 1 << 16;

    void write(std::string_view bytes) {
        if (written_) {
            written_ = target_.write(bytes);
        }
    }

    void flush() {
        write(gathered_);
        gathered_.clear();
    }

    const file_replacement &target_;
    std::string gathered_;
    result<> written_;
};

}  // namespace norvik

#endif
