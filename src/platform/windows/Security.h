#pragma once

#include <cstddef>
#include <memory>

#include "platform/windows/Handle.h"

/// Owners and access lists.
namespace zukel::platform {

/// A security identifier, with room for the longest.
struct SecurityId {
    alignas(8) char bytes[SECURITY_MAX_SID_SIZE];

    PSID Get() noexcept { return bytes; }
};

/// The user of the process. False if the system does not return it.
bool CurrentUser(SecurityId& user) noexcept;

/// Security attributes of a new object that only its creator may use. It inherits nothing from its
/// directory.
class OwnerAlone {
public:
    /// @param inheritance ACE flags: how the entries of a new directory inherit the access.
    explicit OwnerAlone(DWORD inheritance = 0) noexcept;
    OwnerAlone(const OwnerAlone&) = delete;
    OwnerAlone& operator=(const OwnerAlone&) = delete;

    /// Null if the user is not known, with the reason as the system's last error.
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
    /// Null if the system does not return it.
    PSID Owner() const noexcept { return owner_; }
    PSID Group() const noexcept { return group_; }

    /// `APR_FPROT_` bits by the entries of the list: for the owner those for it, the group and
    /// everyone; for the group those for it and everyone; for others those for everyone. Membership
    /// in other groups is not looked up.
    int Permissions() const noexcept;

    /// Whether the owner is the process's user, the system or the administrators, and nobody else
    /// may write.
    bool IsOwnAndClosed() const noexcept;

private:
    std::unique_ptr<char[]> descriptor_;  ///< The other members point into it.
    PSID owner_ = nullptr;
    PSID group_ = nullptr;
    PACL list_ = nullptr;  ///< Null grants everything to everybody.
};

}  // namespace zukel::platform
