#pragma once

#include <cstdint>

#include "platform/windows/Handle.h"
#include "platform/windows/WideName.h"

/// Files as the system's own calls see them.
namespace zukel::platform {

/// What tells one file from another, whatever its names.
struct FileId {
    bool known = false;  ///< False for what is not there, and for devices and pipes.
    std::uint32_t volume = 0;
    std::uint64_t index = 0;
    std::uint32_t links = 0;  ///< How many names it has.
    std::uint32_t attributes = 0;

    bool operator==(const FileId& other) const noexcept {
        return known && other.known && volume == other.volume && index == other.index;
    }
};

/// Whether a symbolic link stands for itself or for what it leads to.
enum class Links { Themselves, Followed };

FileId Identify(const Handle& file) noexcept;
FileId Identify(const wchar_t* name, Links links) noexcept;

/// Moves the rest of one open file to the other, where it stands.
bool CopyContents(const Handle& from, const Handle& to) noexcept;

/// Takes the name of an open file away, the real one if it was opened through a link. For files
/// that are half written.
void RemoveOpenFile(Handle file) noexcept;

}  // namespace zukel::platform
