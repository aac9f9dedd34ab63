#include "frame/Names.h"
#include "frame/OpenStatus.h"
#include "kelFile.h"
#include "platform/SymbolicLinks.h"

namespace platform = zukel::platform;

// A macro of <windows.h>, which APR's headers may include.
#undef CreateSymbolicLink

namespace {

/// Makes the call unless the system would take the name for another one.
template <typename Call>
int OnName(const zuString& name, Call call) {
    if (name.empty()) {
        return zukel::Fail(APR_EINVAL, kelStatusEmptyPath);
    }
    return zukel::MapOpenStatus(zukel::IsWhole(name) ? call(name.c_str()) : APR_ENOENT);
}

}  // namespace

int kelFile::CreateSymbolicLink(const zuString& target, const zuString& name) {
    if (target.empty()) {
        return zukel::Fail(APR_EINVAL, kelStatusEmptyTarget);
    }
    apr_status_t status = APR_SUCCESS;
    const int mapped = OnName(name, [&](const char* link) {
        const bool whole = zukel::IsWhole(target);
        return status = whole ? platform::MakeSymbolicLink(target.c_str(), link) : APR_ENOENT;
    });
    return APR_STATUS_IS_EEXIST(status) ? kelStatusExists : mapped;
}

int kelFile::ReadSymbolicLink(const zuString& name, zuString& target) {
    return OnName(name, [&](const char* link) { return platform::ReadSymbolicLink(link, target); });
}

int kelFile::GetRealPath(const zuString& name, zuString& path) {
    return OnName(name, [&](const char* file) { return platform::QueryRealPath(file, path); });
}
