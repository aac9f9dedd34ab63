#pragma once

#include <array>

#include "platform/linux/Descriptor.h"

namespace zukel::platform {

/// A name of our own in a directory. What stands under it at the end is removed.
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
    /// Gives the entry `name` of the directory this name: as a second name where the file system
    /// has hard links, so that the first never goes missing, and otherwise instead of the first.
    bool TakeOver(const char* name) noexcept;

    /// Gives the entry `name` of the directory this name instead of its own. It stays under it at
    /// the end.
    bool MoveAside(const char* name) noexcept;
    /// Gives what stands under this name the name `name`, unless something has that by now.
    bool MoveBack(const char* name) const noexcept;

    const char* Get() const noexcept { return name_.data(); }
    /// What stands under the name stays, or has another name by now.
    void Release() noexcept { used_ = false; }
    bool IsUsed() const noexcept { return used_; }

private:
    static constexpr mode_t kOwnerAlone = 0600;

    /// Finds a name that is free, as `make` tells: it gives -1 with EEXIST for one that is not.
    template <typename Make>
    int Find(Make make) noexcept;

    int directory_;
    bool used_ = false;
    std::array<char, 48> name_{};
};

}  // namespace zukel::platform
