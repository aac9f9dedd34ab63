#pragma once

#include <string>

#include "platform/windows/Handle.h"

namespace zukel::platform {

/// A new file beside the target, removed again unless it is given the target's name.
class TemporaryFile {
public:
    /// Throws `std::bad_alloc`.
    ///
    /// @param target stays as long as this object. Where the file cannot be made, the reason is the
    /// system's last error.
    explicit TemporaryFile(const wchar_t* target);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    explicit operator bool() const noexcept { return made_; }
    /// Open for writing and with DELETE. Others may open it too, as for its other streams.
    const Handle& File() const noexcept { return file_; }
    const wchar_t* Name() const noexcept { return name_.c_str(); }

    /// Closes the file and gives it the target's name, over a file that has it.
    bool TakeTargetsName() noexcept;
    /// The same while it stays open, over a file that somebody may have open, where the volume can.
    ///
    /// @returns 0 or the system's error.
    DWORD TakeTargetsNameOpen() noexcept;

private:
    const wchar_t* target_;
    std::wstring name_;
    Handle file_;
    bool made_ = false;  ///< And stands under its own name.
};

}  // namespace zukel::platform
