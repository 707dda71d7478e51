#pragma once

#include <unistd.h>

#include <utility>

namespace quillbay {

/// Owns one file descriptor.
class UniqueDescriptor {
 public:
    UniqueDescriptor() = default;
    explicit UniqueDescriptor(int descriptor) : descriptor_(descriptor) {}
    ~UniqueDescriptor() { reset(); }
    UniqueDescriptor(UniqueDescriptor&& other) noexcept : descriptor_(other.release()) {}
    UniqueDescriptor& operator=(UniqueDescriptor&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }

    [[nodiscard]] int get() const { return descriptor_; }
    [[nodiscard]] bool valid() const { return descriptor_ >= 0; }
    [[nodiscard]] int release() { return std::exchange(descriptor_, -1); }
    void reset(int descriptor = -1) {
        // A failed close has nonetheless given the number back; there is nothing left to be done about it.
        if (descriptor_ >= 0) ::close(descriptor_);
        descriptor_ = descriptor;
    }

 private:
    int descriptor_ = -1;
};

}  // namespace quillbay
