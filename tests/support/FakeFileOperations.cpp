#include "support/FakeFileOperations.h"

#include <sstream>

#include "zubase/zuWString.h"

namespace zukel::test {

FakeFileOperations* FakeFileOperations::current = nullptr;

namespace {

template <typename... Arguments>
bool Record(const char* call, const Arguments&... arguments) {
    std::ostringstream text;
    text << call << std::hex;
    ((text << ' ' << arguments), ...);
    FakeFileOperations::current->calls.push_back(text.str());
    return FakeFileOperations::current->done;
}

}  // namespace

}  // namespace zukel::test

namespace zukel::platform {

using test::FakeFileOperations;
using test::Record;

CopyEnd CopyWithPermissions(const char* from, const char* to, apr_fileperms_t perms,
                            apr_pool_t*) noexcept {
    Record("CopyWithPermissions", from, to, perms);
    return FakeFileOperations::current->copyEnd;
}

CopyEnd CopyWithAttributes(const char* from, const char* to) noexcept {
    Record("CopyWithAttributes", from, to);
    return FakeFileOperations::current->copyEnd;
}

void SetNormalAttributes(const char* name) noexcept {
    Record("SetNormalAttributes", name);
}

bool RenameInPlace(const char* from, const char* to) noexcept {
    return Record("RenameInPlace", from, to);
}

bool MoveAcrossVolumes(const char* from, const char* to) {
    return Record("MoveAcrossVolumes", from, to);
}

bool ChangeAccess(const char* name, int mode) noexcept {
    return Record("ChangeAccess", name, mode);
}

bool IsAccessible(const wchar_t* name, int access) {
    return Record("IsAccessible", Narrow(name), access);
}

}  // namespace zukel::platform
