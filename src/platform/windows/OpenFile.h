#pragma once

#include <apr_errno.h>

#include <cstdint>
#include <memory>

#include "platform/windows/Handle.h"
#include "platform/windows/WideName.h"

/// Files as the system's own calls see them.
namespace zukel::platform {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
/// With these rights alone the system puts every write at the end of the file, whoever else writes.
constexpr DWORD kAppendAlone = FILE_GENERIC_WRITE & ~static_cast<DWORD>(FILE_WRITE_DATA);

/// What tells one file from another, whatever its names.
struct FileId {
    bool known = false;  ///< False for what is not there, and for devices and pipes.
    std::uint64_t volume = 0;
    std::uint64_t id[2] = {0, 0};
    std::uint32_t links = 0;  ///< How many names it has.
    std::uint32_t attributes = 0;

    bool operator==(const FileId& other) const noexcept {
        return known && other.known && volume == other.volume && id[0] == other.id[0] &&
               id[1] == other.id[1];
    }
};

/// Whether a symbolic link stands for itself or for what it leads to.
enum class Symlinks { NoFollow, Follow };

/// Opens what exists, a directory too, without access to its contents.
Handle OpenForFacts(const wchar_t* name, DWORD access, Symlinks symlinks) noexcept;

FileId Identify(const Handle& file) noexcept;
FileId Identify(const wchar_t* name, Symlinks symlinks) noexcept;

/// The absolute name of an open file, in the extended form, with room for `extra` more units; null
/// when the system does not tell it, or for want of memory.
std::unique_ptr<wchar_t[]> FinalName(const Handle& file, std::size_t extra = 0) noexcept;

/// Repeats what scanners and indexers hold up for a moment: a call that gives the system's error, 0
/// for success. At most about a tenth of a second.
template <typename Call>
DWORD RepeatWhileShared(Call call) noexcept {
    DWORD error = call();
    for (DWORD pause = 1; error == ERROR_SHARING_VIOLATION && pause <= 64; pause *= 2) {
        Sleep(pause);
        error = call();
    }
    return error;
}

/// Gives an open file another name, over a file that has it: where the volume can, also while
/// somebody holds that one open.
///
/// @param file open with DELETE.
/// @returns 0 or the system's error.
DWORD RenameOpenFile(const Handle& file, const wchar_t* to) noexcept;

/// Takes the name of an open file away: at once where the volume can, else when the last who has it
/// open closes it.
///
/// @param file open with DELETE.
/// @returns 0 or the system's error.
DWORD RemoveOpenFile(const Handle& file) noexcept;

/// Moves the rest of one open file to the other, where it stands.
bool CopyContents(const Handle& from, const Handle& to) noexcept;

/// Cuts an open file to nothing and takes its name away, the real one if it was opened through a
/// link. For files that are half written; what is no plain file stays.
void DropOpenFile(Handle file) noexcept;

}  // namespace zukel::platform
