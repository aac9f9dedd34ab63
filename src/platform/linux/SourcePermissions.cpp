#include "platform/linux/SourcePermissions.h"

#include <endian.h>
#include <linux/posix_acl.h>
#include <linux/posix_acl_xattr.h>
#include <sys/xattr.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "platform/linux/CopyRules.h"

namespace zukel::platform {

namespace {

constexpr mode_t kGroupShift = 3;

/// Removes the access list that a file has inherited from its directory. Testing for one costs less
/// than removing none.
bool RemoveAccessList(int file) noexcept {
    const bool none = fgetxattr(file, kAccessList, nullptr, 0) < 0 && errno == ENODATA;
    return none || SucceededOrRefused(fremovexattr(file, kAccessList)) || errno == ENODATA;
}

}  // namespace

bool SourcePermissions::Read(int source) noexcept {
    const ssize_t size = fgetxattr(source, kAccessList, nullptr, 0);
    if (size <= 0) {
        return size == 0 || errno == ENODATA || IsRefusal(errno);
    }
    list_.reset(new (std::nothrow) char[static_cast<std::size_t>(size)]);
    if (!list_) {
        errno = ENOMEM;
        return false;
    }
    size_ = static_cast<std::size_t>(size);
    return fgetxattr(source, kAccessList, list_.get(), size_) == size;
}

bool SourcePermissions::GiveTo(int copy, mode_t present) noexcept {
    given_ = source_.st_mode & kReadWriteExecute;
    if (size_ > 0) {
        if (fsetxattr(copy, kAccessList, list_.get(), size_, 0) == 0) {
            return true;
        }
        if (!IsRefusal(errno)) {
            return false;
        }
        given_ = ModeWithoutList();
    }
    // The mode first: it limits what an inherited list grants.
    const bool hasMode = present != kUnknown && (present & kModeBits) == given_;
    return (hasMode || SucceededOrRefused(fchmod(copy, given_))) && RemoveAccessList(copy);
}

bool SourcePermissions::GiveSpecialBitsTo(int copy) const noexcept {
    if ((source_.st_mode & kModeBits) <= kReadWriteExecute) {
        return true;
    }
    struct stat now {};
    if (fstat(copy, &now) != 0) {
        return false;
    }
    const mode_t sameOwner = source_.st_uid == now.st_uid ? S_ISUID : 0;
    const mode_t sameGroup = source_.st_gid == now.st_gid ? S_ISGID : 0;
    const mode_t special = source_.st_mode & (S_ISVTX | sameOwner | sameGroup);
    return SucceededOrRefused(fchmod(copy, given_ | special));
}

/// The bits of the owning group and of others, less what the list denies to a user or group that it
/// names and that would belong to those without it.
mode_t SourcePermissions::ModeWithoutList() const noexcept {
    mode_t group = 07;
    mode_t others = 07;
    mode_t mask = 07;
    mode_t namedUsers = 07;
    mode_t namedGroups = 07;
    bool namesAnybody = false;
    posix_acl_xattr_entry entry{};
    for (std::size_t at = sizeof(posix_acl_xattr_header); at + sizeof entry <= size_;
         at += sizeof entry) {
        std::memcpy(&entry, list_.get() + at, sizeof entry);
        const mode_t rights = le16toh(entry.e_perm) & 07U;
        switch (le16toh(entry.e_tag)) {
            case ACL_USER:
                namedUsers &= rights;
                namesAnybody = true;
                break;
            case ACL_GROUP:
                namedGroups &= rights;
                namesAnybody = true;
                break;
            case ACL_GROUP_OBJ:
                group = rights;
                break;
            case ACL_MASK:
                mask = rights;
                break;
            case ACL_OTHER:
                others = rights;
                break;
            default:  // the owner, whose bits the mode has
                break;
        }
    }
    group &= mask & namedUsers;
    others &= namesAnybody ? mask & namedUsers & namedGroups : 07;
    return (source_.st_mode & S_IRWXU) | group << kGroupShift | others;
}

}  // namespace zukel::platform
