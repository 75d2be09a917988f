// The owner of an open descriptor.
#ifndef NORVIK_OWNED_DESCRIPTOR_H
#define NORVIK_OWNED_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace norvik {

// Closes its descriptor when it goes or gets another; -1 stands for none.
class owned_descriptor {
public:
    owned_descriptor() = default;
    explicit owned_descriptor(int descriptor) : descriptor_(descriptor) {}
    owned_descriptor(owned_descriptor &&other) noexcept : descriptor_(other.release()) {}
    owned_descriptor &operator=(owned_descriptor &&other) noexcept {
        const owned_descriptor old(std::exchange(descriptor_, other.release()));
        return *this;
    }
    ~owned_descriptor() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }

    int get() const { return descriptor_; }
    bool is_open() const { return descriptor_ >= 0; }
    // Gives the descriptor away, to be closed by the caller.
    int release() { return std::exchange(descriptor_, -1); }

private:
    int descriptor_ = -1;
};

}  // namespace norvik

#endif
