#pragma once

#include <apr_file_info.h>
#include <sys/stat.h>

/// Conversion between the mode of a file and the permission mask of the interface.
namespace zukel::platform {

/// A pair of bits that mean the same.
struct PermissionBit {
    apr_fileperms_t word;
    mode_t mode;
};
inline constexpr PermissionBit kSpecialBits[] = {
    {APR_FPROT_USETID, S_ISUID}, {APR_FPROT_GSETID, S_ISGID}, {APR_FPROT_WSTICKY, S_ISVTX}};

/// Owner, group and everybody else have a digit each: 4 bits in the mask, 3 in the mode.
constexpr mode_t ModeOf(apr_fileperms_t perms) noexcept {
    const auto word = static_cast<mode_t>(perms);
    mode_t mode = (word >> 8U & 07U) << 6U | (word >> 4U & 07U) << 3U | (word & 07U);
    for (const PermissionBit& bit : kSpecialBits) {
        mode |= (perms & bit.word) != 0 ? bit.mode : 0;
    }
    return mode;
}

constexpr apr_fileperms_t PermissionsOf(mode_t mode) noexcept {
    auto perms = static_cast<apr_fileperms_t>((mode >> 6U & 07U) << 8U | (mode >> 3U & 07U) << 4U |
                                              (mode & 07U));
    for (const PermissionBit& bit : kSpecialBits) {
        perms |= (mode & bit.mode) != 0 ? bit.word : 0;
    }
    return perms;
}

}  // namespace zukel::platform
