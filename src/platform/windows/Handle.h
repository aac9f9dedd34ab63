#pragma once

#include <utility>

#include "platform/windows/System.h"

namespace zukel::platform {

/// Owns a handle of the system, or none: null and INVALID_HANDLE_VALUE are empty.
class Handle {
public:
    Handle() noexcept = default;
    explicit Handle(HANDLE handle) noexcept
        : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    ~Handle() { Close(); }
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        if (this != &other) {
            Close();
            handle_ = std::exchange(other.handle_, nullptr);
        }
        return *this;
    }

    explicit operator bool() const noexcept { return handle_ != nullptr; }
    HANDLE Get() const noexcept { return handle_; }

    /// Gives up the handle without closing it.
    HANDLE Release() noexcept { return std::exchange(handle_, nullptr); }

    /// False if the system reports a failure. The object is empty either way.
    bool Close() noexcept {
        const HANDLE handle = std::exchange(handle_, nullptr);
        return handle == nullptr || CloseHandle(handle) != 0;
    }

private:
    HANDLE handle_ = nullptr;
};

}  // namespace zukel::platform
