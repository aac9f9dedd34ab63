#pragma once

#include <utility>

#include "platform/linux/SystemCall.h"

namespace zukel::platform {

/// Owns a file descriptor from the call that opens it.
class Descriptor {
public:
    Descriptor() noexcept = default;
    explicit Descriptor(int descriptor) noexcept : descriptor_(descriptor) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, kNone)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }

    int Get() const noexcept { return descriptor_; }
    explicit operator bool() const noexcept { return descriptor_ >= 0; }

    /// Releases ownership: the descriptor is not closed any more.
    int Release() noexcept { return std::exchange(descriptor_, kNone); }

    /// Closes it if it is open. False if the system reports only now that written data was lost;
    /// the descriptor is closed all the same.
    bool Close() noexcept {
        const int descriptor = std::exchange(descriptor_, kNone);
        return descriptor < 0 || CloseDescriptor(descriptor) == 0;
    }

private:
    static constexpr int kNone = -1;
    int descriptor_ = kNone;
};

}  // namespace zukel::platform
