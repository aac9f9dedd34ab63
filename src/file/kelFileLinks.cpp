#include "frame/OnName.h"
#include "frame/OpenStatus.h"
#include "kelFile.h"
#include "platform/SymbolicLinks.h"

namespace platform = zukel::platform;

// A macro of <windows.h>, which APR's headers may include.
#undef CreateSymbolicLink

int kelFile::CreateSymbolicLink(const zuString& target, const zuString& name) {
    if (target.empty()) {
        return zukel::Fail(APR_EINVAL, kelStatusEmptyTarget);
    }
    apr_status_t status = APR_SUCCESS;
    const int mapped = zukel::OnName(name, zukel::MapOpenStatus, [&](const char* link) {
        const bool whole = zukel::IsWhole(target);
        return status = whole ? platform::MakeSymbolicLink(target.c_str(), link) : APR_ENOENT;
    });
    return APR_STATUS_IS_EEXIST(status) ? kelStatusExists : mapped;
}

int kelFile::ReadSymbolicLink(const zuString& name, zuString& target) {
    return zukel::OnName(name, zukel::MapOpenStatus, [&](const char* link) {
        return platform::ReadSymbolicLink(link, target);
    });
}

int kelFile::GetRealPath(const zuString& name, zuString& path) {
    return zukel::OnName(name, zukel::MapOpenStatus,
                         [&](const char* file) { return platform::QueryRealPath(file, path); });
}
