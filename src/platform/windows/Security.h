#pragma once

#include <cstddef>
#include <memory>

#include "platform/windows/Handle.h"

/// Who owns what, and who may do what with it.
namespace zukel::platform {

/// A security identifier with room for the longest there is.
struct SecurityId {
    alignas(8) char bytes[SECURITY_MAX_SID_SIZE];

    PSID Get() noexcept { return bytes; }
};

/// The user of the process. False when the system does not tell.
bool CurrentUser(SecurityId& user) noexcept;

/// Attributes of something new that its maker alone may use, whatever its folder would have passed
/// on.
class OwnerAlone {
public:
    /// @param inheritance ACE flags: what is made in a new directory gets its access by them.
    explicit OwnerAlone(DWORD inheritance = 0) noexcept;
    OwnerAlone(const OwnerAlone&) = delete;
    OwnerAlone& operator=(const OwnerAlone&) = delete;

    /// Null, for the system's own choice, when the user is not known.
    SECURITY_ATTRIBUTES* Get() noexcept { return known_ ? &attributes_ : nullptr; }

private:
    SECURITY_ATTRIBUTES attributes_{};
    SECURITY_DESCRIPTOR descriptor_{};
    SecurityId user_{};
    alignas(8) char list_[sizeof(ACL) + sizeof(ACCESS_ALLOWED_ACE) + SECURITY_MAX_SID_SIZE];
    bool known_ = false;
};

/// Owner, group and access list of an open file.
class SecurityOfFile {
public:
    /// @param file open with READ_CONTROL.
    explicit SecurityOfFile(const Handle& file) noexcept;
    /// Null when the system does not tell.
    PSID Owner() const noexcept { return owner_; }
    PSID Group() const noexcept { return group_; }

    /// `APR_FPROT_` bits, as far as the list tells them by itself: for the owner by the entries for
    /// it, the group and everyone; for the group by those for it and everyone; for others by those
    /// for everyone. In what other groups these are is not asked.
    int Permissions() const noexcept;

    /// Whether the owner is the process's user, or the system or its administrators, and nobody but
    /// these may write.
    bool IsOwnAndClosed() const noexcept;

private:
    std::unique_ptr<char[]> descriptor_;  ///< What the others point into.
    PSID owner_ = nullptr;
    PSID group_ = nullptr;
    PACL list_ = nullptr;  ///< Null grants everything to everybody.
};

}  // namespace zukel::platform
