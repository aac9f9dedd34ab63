#pragma once

#include <string>

#include "platform/windows/Handle.h"

namespace zukel::platform {

/// A new file in the directory of the target. The destructor removes it unless it has got the
/// target's name.
class TemporaryFile {
public:
    /// Throws `std::bad_alloc`.
    ///
    /// @param target must outlive this object. If the file cannot be created, the reason is the
    /// system's last error.
    explicit TemporaryFile(const wchar_t* target);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    explicit operator bool() const noexcept { return made_; }
    /// Open for writing and with DELETE, and shared, so that its other streams can be opened.
    const Handle& File() const noexcept { return file_; }
    const wchar_t* Name() const noexcept { return name_.c_str(); }

    /// Closes the file and renames it to the target, replacing a file of that name.
    bool TakeTargetsName() noexcept;
    /// The same, but it stays open, and the target may be open if the volume has POSIX semantics.
    ///
    /// @returns 0 or the system's error.
    DWORD TakeTargetsNameOpen() noexcept;

private:
    const wchar_t* target_;
    std::wstring name_;
    Handle file_;
    bool made_ = false;  ///< And still has the name `name_`.
};

}  // namespace zukel::platform
