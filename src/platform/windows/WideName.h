#pragma once

#include <apr.h>  // before the system's own: it takes a part of that, with the sockets

#include <memory>

namespace zukel::platform {

/// The wide form of a name in UTF-8, made without throwing. What is no UTF-8 becomes U+FFFD, which
/// names nothing. An absolute name that is too long for the system's plain form gets its long one.
class WideName {
public:
    explicit WideName(const char* name) noexcept;

    /// False when there was no memory for it.
    explicit operator bool() const noexcept { return text_ != nullptr; }
    const wchar_t* Get() const noexcept { return text_.get(); }

private:
    std::unique_ptr<wchar_t[]> text_;
};

}  // namespace zukel::platform
