#pragma once

#include <apr_errno.h>
#include <apr_file_info.h>

#include <cstdint>

/// What the portable code asks of the platform to describe a file by its name. Plain functions,
/// chosen at link time.
namespace zukel::platform {

/// What the system tells of a file. A fact that it does not tell keeps the value it has here. The
/// order and the narrow types keep the objects small that hold one each.
struct FileFacts {
    static constexpr std::uint32_t kNoNumber = 0xFFFFFFFF;  ///< Which no file and no user has.

    long long size = -1;  ///< In bytes.
    /// In microseconds since 1970-01-01 00:00:00 universal time.
    long long created = -1, accessed = -1, modified = -1;
    std::uint32_t links = kNoNumber;  ///< How many names the file has.
    /// Linux: the numbers of owner and group. Windows has none.
    std::uint32_t user = kNoNumber, group = kNoNumber;
    int permissions = -1;  ///< `APR_FPROT_` bits.
    apr_filetype_e type = APR_NOFILE;
    bool hasUser = false;   ///< The owner is known.
    bool hasGroup = false;  ///< The group is known.
};

/// Whether a symbolic link is described itself, or what it leads to.
enum class LinkMode : std::uint8_t { Itself, Followed };

/// Describes the file. Nothing is created, and no right to read the contents is needed.
///
/// @param facts unchanged on failure.
/// @returns 0 or the reason. Linux: `lstat` or `stat`. Windows: from a handle without access to the
/// contents; leaves the permissions to `QueryPermissions`.
apr_status_t QueryFile(const char* name, LinkMode mode, FileFacts& facts) noexcept;

/// The permissions of the same file, where `QueryFile` has not brought them.
///
/// @param permissions `APR_FPROT_` bits; unchanged on failure.
/// @returns 0 or the reason. Windows: of the file that a link leads to. Linux: `APR_ENOTIMPL`;
/// `QueryFile` brings them, so this is not called.
apr_status_t QueryPermissions(const char* name, int& permissions) noexcept;

/// Looks whether the name leads to anything: a file, a directory, a device.
///
/// @returns 0 or the reason why not.
apr_status_t FindFile(const char* name) noexcept;

}  // namespace zukel::platform
