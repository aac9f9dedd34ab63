#pragma once

#include <apr_errno.h>

#include <cstdint>
#include <memory>

#include "platform/windows/Handle.h"
#include "platform/windows/WideName.h"

/// Files as the system's own calls see them.
namespace zukel::platform {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
/// With only these rights every write goes to the end of the file, whoever else writes.
constexpr DWORD kAppendAlone = FILE_GENERIC_WRITE & ~static_cast<DWORD>(FILE_WRITE_DATA);

/// What tells one file from another, whatever its names.
struct FileId {
    bool known = false;  ///< False for a missing file, a device and a pipe.
    std::uint64_t volume = 0;
    std::uint64_t id[2] = {0, 0};
    std::uint32_t links = 0;  ///< How many names it has.
    std::uint32_t attributes = 0;

    bool operator==(const FileId& other) const noexcept {
        return known && other.known && volume == other.volume && id[0] == other.id[0] &&
               id[1] == other.id[1];
    }
};

/// Whether the name of a symbolic link means the link or its target.
enum class Symlinks { NoFollow, Follow };

/// Opens an existing file or directory with these rights.
Handle OpenForFacts(const wchar_t* name, DWORD access, Symlinks symlinks) noexcept;

FileId Identify(const Handle& file) noexcept;
FileId Identify(const wchar_t* name, Symlinks symlinks) noexcept;

/// The absolute name of an open file, in the extended form, with room for `extra` more units.
///
/// @returns null, with the reason as the system's last error, if the system does not return it, as
/// on a volume without a drive letter, or there is no memory.
std::unique_ptr<wchar_t[]> FinalName(const Handle& file, std::size_t extra = 0) noexcept;

/// Repeats a call while it returns ERROR_SHARING_VIOLATION, for 127 ms at most: virus scanners and
/// indexers hold new files open for a moment.
///
/// @param call returns 0 or the system's error.
template <typename Call>
DWORD RepeatWhileShared(Call call) noexcept {
    DWORD error = call();
    for (DWORD pause = 1; error == ERROR_SHARING_VIOLATION && pause <= 64; pause *= 2) {
        Sleep(pause);
        error = call();
    }
    return error;
}

/// Renames an open file, replacing a file of that name: also one that is open, if the volume has
/// POSIX semantics.
///
/// @param file open with DELETE.
/// @returns 0 or the system's error.
DWORD RenameOpenFile(const Handle& file, const wchar_t* to) noexcept;

/// Removes the name of an open file: at once if the volume has POSIX semantics, else when its last
/// handle is closed.
///
/// @param file open with DELETE.
/// @returns 0 or the system's error.
DWORD RemoveOpenFile(const Handle& file) noexcept;

/// Copies one open file to the other, each from its position on.
bool CopyContents(const Handle& from, const Handle& to) noexcept;

/// Truncates and removes a partly written file: if it was opened through a link, the link's target.
/// Devices and pipes stay.
void DropOpenFile(Handle file) noexcept;

}  // namespace zukel::platform
