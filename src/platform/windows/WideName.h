#pragma once

#include <memory>
#include <string>

#include "platform/windows/System.h"

namespace zukel::platform {

/// Whether a name may be that of a device of the system, such as NUL.
enum class Devices { Refused, Taken };

/// The name of a file in the form that the system's wide calls take, made without throwing. Every
/// call goes through it.
///
/// A name of up to 247 units stays as it is. A longer one is made absolute and normalised (`.`,
/// `..`, doubled separators), and gets the extended form, `\\?\C:\...` or `\\?\UNC\server\...`. A
/// name that starts with `\\?\` or `\\.\` stays as it is, whatever its length.
///
/// These are refused, with a reason: invalid UTF-8 as a file that does not exist; a component of
/// more than 255 units; a component that the system reads as a device, such as `nul.txt` or
/// `C:\con`. With `Devices::Taken` the plain name of a device, such as `NUL`, is accepted.
class WideName {
public:
    explicit WideName(const char* name, Devices devices = Devices::Refused) noexcept;
    explicit WideName(const wchar_t* name, Devices devices = Devices::Refused) noexcept;
    WideName(const WideName&) = delete;
    WideName& operator=(const WideName&) = delete;

    /// False if the name was refused, or there was no memory for it.
    explicit operator bool() const noexcept { return status_ == APR_SUCCESS; }
    /// 0 or why it was refused.
    apr_status_t Status() const noexcept { return status_; }
    const wchar_t* Get() const noexcept { return text_; }

    /// Makes the name absolute, or gives it the extended form, whatever its length. Requires: it
    /// was not refused.
    ///
    /// @returns false when it is refused now.
    bool MakeAbsolute() noexcept { return Extend(Form::Absolute); }
    bool MakeExtended() noexcept { return Extend(Form::Extended); }

private:
    static constexpr int kInline = 264;

    bool Convert(const char* name) noexcept;
    /// Allocates `size` units for a new text.
    bool Reserve(std::size_t size, std::unique_ptr<wchar_t[]>& room) noexcept;
    bool Settle(Devices devices) noexcept;
    enum class Form { Absolute, Extended };  ///< What a short name becomes.
    bool Extend(Form form) noexcept;
    bool Refuse(DWORD reason) noexcept {
        status_ = SystemStatus(reason);
        return false;
    }

    wchar_t inline_[kInline];
    std::unique_ptr<wchar_t[]> longer_;
    const wchar_t* text_ = inline_;
    apr_status_t status_ = APR_SUCCESS;
};

/// Converts UTF-8 strictly.
///
/// @returns false, with `wide` unchanged, for invalid UTF-8. Throws `std::bad_alloc`.
bool ToWide(const char* text, std::wstring& wide);

/// Converts to UTF-8; half a surrogate pair becomes U+FFFD. Throws `std::bad_alloc`.
std::string ToUtf8(const std::wstring& text);

/// Whether the system reads a component of a name, such as `nul.txt`, as a device.
bool IsReservedName(const wchar_t* component, std::size_t length) noexcept;

}  // namespace zukel::platform
