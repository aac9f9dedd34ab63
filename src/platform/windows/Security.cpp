#include "platform/windows/Security.h"

#include <apr_file_info.h>

#include <initializer_list>
#include <new>

namespace zukel::platform {

namespace {

SecurityId WellKnown(WELL_KNOWN_SID_TYPE type) noexcept {
    SecurityId id{};
    DWORD size = sizeof id.bytes;
    CreateWellKnownSid(type, nullptr, id.Get(), &size);
    return id;
}

/// Whether it is the system or the administrators, who have access to everything anyway.
bool IsTrusted(PSID id) noexcept {
    SecurityId administrators = WellKnown(WinBuiltinAdministratorsSid);
    SecurityId system = WellKnown(WinLocalSystemSid);
    return EqualSid(id, administrators.Get()) != 0 || EqualSid(id, system.Get()) != 0;
}

/// One entry of an access list. Entries of other types are neither.
struct Entry {
    bool allows = false;
    bool denies = false;
    ACCESS_MASK rights = 0;
    PSID who = nullptr;
};

Entry EntryAt(PACL list, DWORD index) noexcept {
    void* found = nullptr;
    Entry entry;
    if (GetAce(list, index, &found) == 0) {
        return entry;
    }
    auto* const ace = static_cast<ACCESS_ALLOWED_ACE*>(found);  // a denying one has the same fields
    if ((ace->Header.AceFlags & INHERIT_ONLY_ACE) != 0) {
        return entry;
    }
    entry.allows = ace->Header.AceType == ACCESS_ALLOWED_ACE_TYPE;
    entry.denies = ace->Header.AceType == ACCESS_DENIED_ACE_TYPE;
    if (entry.allows || entry.denies) {
        GENERIC_MAPPING mapping{FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE,
                                FILE_ALL_ACCESS};
        entry.rights = ace->Mask;
        MapGenericMask(&entry.rights, &mapping);
        entry.who = &ace->SidStart;
    }
    return entry;
}

/// What the list grants to a user with these identifiers: for each right the first entry that names
/// it decides.
ACCESS_MASK Granted(PACL list, std::initializer_list<PSID> identifiers) noexcept {
    if (list == nullptr) {
        return FILE_ALL_ACCESS;
    }
    ACCESS_MASK granted = 0;
    ACCESS_MASK denied = 0;
    for (DWORD index = 0; index < list->AceCount; ++index) {
        const Entry entry = EntryAt(list, index);
        for (const PSID id : identifiers) {
            if (entry.who != nullptr && id != nullptr && EqualSid(entry.who, id) != 0) {
                (entry.allows ? granted : denied) |=
                    entry.rights & ~(entry.allows ? denied : granted);
            }
        }
    }
    return granted;
}

int Bits(ACCESS_MASK rights, int read, int write, int execute) noexcept {
    return ((rights & FILE_READ_DATA) != 0 ? read : 0) |
           ((rights & FILE_WRITE_DATA) != 0 ? write : 0) |
           ((rights & FILE_EXECUTE) != 0 ? execute : 0);
}

}  // namespace

bool CurrentUser(SecurityId& user) noexcept {
    HANDLE opened = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened) == 0) {
        return false;
    }
    const Handle token(opened);
    alignas(8) char told[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD size = 0;
    return GetTokenInformation(token.Get(), TokenUser, told, sizeof told, &size) != 0 &&
           CopySid(sizeof user.bytes, user.Get(),
                   reinterpret_cast<const TOKEN_USER*>(told)->User.Sid) != 0;
}

OwnerAlone::OwnerAlone(DWORD inheritance) noexcept {
    auto* const list = reinterpret_cast<ACL*>(list_);
    known_ =
        CurrentUser(user_) && InitializeAcl(list, sizeof list_, ACL_REVISION) != 0 &&
        AddAccessAllowedAceEx(list, ACL_REVISION, inheritance, FILE_ALL_ACCESS, user_.Get()) != 0 &&
        InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION) != 0 &&
        SetSecurityDescriptorDacl(&descriptor_, TRUE, list, FALSE) != 0 &&
        SetSecurityDescriptorControl(&descriptor_, SE_DACL_PROTECTED, SE_DACL_PROTECTED) != 0;
    attributes_.nLength = sizeof attributes_;
    attributes_.lpSecurityDescriptor = &descriptor_;
}

SecurityOfFile::SecurityOfFile(const Handle& file) noexcept {
    constexpr SECURITY_INFORMATION kAll =
        OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    DWORD size = 0;
    GetKernelObjectSecurity(file.Get(), kAll, nullptr, 0, &size);
    descriptor_.reset(new (std::nothrow) char[size]);
    void* const descriptor = descriptor_.get();
    BOOL present = FALSE;
    BOOL chosen = FALSE;
    if (size == 0 || descriptor == nullptr ||
        GetKernelObjectSecurity(file.Get(), kAll, descriptor, size, &size) == 0 ||
        GetSecurityDescriptorDacl(descriptor, &present, &list_, &chosen) == 0 ||
        GetSecurityDescriptorOwner(descriptor, &owner_, &chosen) == 0 ||
        GetSecurityDescriptorGroup(descriptor, &group_, &chosen) == 0) {
        owner_ = nullptr;
        group_ = nullptr;
    }
}

int SecurityOfFile::Permissions() const noexcept {
    SecurityId everyone = WellKnown(WinWorldSid);
    SecurityId users = WellKnown(WinAuthenticatedUserSid);  // everyone but guests
    const ACCESS_MASK owner = Granted(list_, {owner_, group_, users.Get(), everyone.Get()});
    const ACCESS_MASK group = Granted(list_, {group_, users.Get(), everyone.Get()});
    const ACCESS_MASK others = Granted(list_, {users.Get(), everyone.Get()});
    return Bits(owner, APR_FPROT_UREAD, APR_FPROT_UWRITE, APR_FPROT_UEXECUTE) |
           Bits(group, APR_FPROT_GREAD, APR_FPROT_GWRITE, APR_FPROT_GEXECUTE) |
           Bits(others, APR_FPROT_WREAD, APR_FPROT_WWRITE, APR_FPROT_WEXECUTE);
}

bool SecurityOfFile::IsOwnAndClosed() const noexcept {
    SecurityId user{};
    if (owner_ == nullptr || list_ == nullptr || !CurrentUser(user) ||
        (EqualSid(owner_, user.Get()) == 0 && !IsTrusted(owner_))) {
        return false;
    }
    constexpr ACCESS_MASK kWriting = FILE_WRITE_DATA | FILE_APPEND_DATA | WRITE_DAC | WRITE_OWNER;
    for (DWORD index = 0; index < list_->AceCount; ++index) {
        const Entry entry = EntryAt(list_, index);
        if (entry.allows && (entry.rights & kWriting) != 0 &&
            EqualSid(entry.who, user.Get()) == 0 && EqualSid(entry.who, owner_) == 0 &&
            !IsTrusted(entry.who)) {
            return false;
        }
    }
    return true;
}

}  // namespace zukel::platform
