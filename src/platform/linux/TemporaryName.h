#pragma once

#include <array>

#include "platform/linux/Descriptor.h"

namespace zukel::platform {

/// A temporary name in a directory. A file that has it at the end is removed.
class TemporaryName {
public:
    /// @param directory stays open for as long as this object lives.
    explicit TemporaryName(int directory) noexcept : directory_(directory) {}
    ~TemporaryName();
    TemporaryName(const TemporaryName&) = delete;
    TemporaryName& operator=(const TemporaryName&) = delete;

    /// Makes an empty file and opens it for writing.
    ///
    /// @param mode less the umask; without it the owner alone may read and write the file.
    Descriptor MakeFile(mode_t mode = kOwnerAlone) noexcept;
    /// Makes a symbolic link.
    bool MakeLink(const char* text) noexcept;
    /// Gives the entry `name` of the directory this name too: as a hard link where the file system
    /// has them, so that the first name never goes missing, otherwise by a rename.
    bool TakeOver(const char* name) noexcept;

    /// Renames the entry `name` of the directory to this name. It is not removed at the end.
    bool MoveAside(const char* name) noexcept;
    /// Renames the file of this name to `name`, unless something has that name by now.
    bool MoveBack(const char* name) const noexcept;

    const char* Get() const noexcept { return name_.data(); }
    /// The file of this name is kept, or has another name by now.
    void Release() noexcept { used_ = false; }
    bool IsUsed() const noexcept { return used_; }

private:
    static constexpr mode_t kOwnerAlone = 0600;

    /// Finds a free name: `make` returns -1 with EEXIST for one that is taken.
    template <typename Make>
    int Find(Make make) noexcept;

    int directory_;
    bool used_ = false;
    std::array<char, 48> name_{};
};

}  // namespace zukel::platform
