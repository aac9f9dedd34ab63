#include "kelDynamicObject.h"

#include <apr_errno.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "frame/Names.h"
#include "frame/StatusMapping.h"
#include "kelLibrary.h"
#include "process/kelDynamicObjectRecord.h"

#undef LoadLibrary  // a macro of <windows.h>, which APR's headers may include

namespace {

constexpr std::size_t kMostText = 4095;

/// Copies the text of the load just tried: APR's pointer to it is valid only until the thread's
/// next such call.
///
/// Where only the status is known, its text is preceded by the name.
///
/// @param text has room for `kMostText` bytes.
void KeepText(zuString& text, const char* name, apr_dso_handle_t* tried,
              apr_status_t status) noexcept {
    char buffer[256];
    if (tried == nullptr && *name != '\0') {
        constexpr std::size_t kMostName = kMostText - sizeof buffer - 2;
        text.assign(name, std::min(std::strlen(name), kMostName)).append(": ");
    }
    const char* const told = tried != nullptr ? apr_dso_error(tried, buffer, sizeof buffer)
                                              : apr_strerror(status, buffer, sizeof buffer);
    text.append(told, std::min(std::strlen(told), kMostText - text.size()));
    text.shrink_to_fit();
}

int Load(kelDynamicObjectRecord& record, zuString name) {
    // Before anything changes: memory may run out here.
    auto module = std::make_unique<zukel::Module>();
    zuString text;
    text.reserve(kMostText);
    if (record.module != nullptr) {
        record.forgotten.emplace_front();
        record.forgotten.front() = std::move(record.module);
    }
    record.name.clear();
    apr_dso_handle_t* tried = nullptr;
    // To the system the empty name is the program itself.
    const bool isName = !name.empty() && zukel::IsWhole(name);
    const apr_status_t status = isName ? module->Load(name.c_str(), tried) : APR_EDSOOPEN;
    KeepText(text, name.c_str(), tried, status);
    record.error = std::move(text);
    if (status == APR_SUCCESS) {
        record.module = std::move(module);
        record.name = std::move(name);
    }
    return zukel::MapStatus(status);
}

}  // namespace

kelDynamicObject::kelDynamicObject() : record_(new kelDynamicObjectRecord) {}

kelDynamicObject::kelDynamicObject(kelLibrary*) : kelDynamicObject() {}

kelDynamicObject::~kelDynamicObject() {
    zukel::Release(record_);
}

kelDynamicObject& kelDynamicObject::operator=(const kelDynamicObject& other) {
    zukel::Assign(record_, other.record_);
    return *this;
}

int kelDynamicObject::LoadLibrary(const zuString& name) {
    return Load(*record_, name);
}

int kelDynamicObject::kelLoadLibraryEx(const std::string& directory, const std::string& name) {
    if (directory.empty() || name.empty()) {
        return zukel::Fail(APR_EINVAL);
    }
    const zuString suffix = zuString(kelLibrary::GetSharedLibSuffix()).substr(0, 32);
    zuString plain = directory + "/" + name + suffix;
    zuString prefixed = directory + "/lib" + name + suffix;
    return Load(*record_, std::move(plain)) == kelStatusOk ? kelStatusOk
                                                           : Load(*record_, std::move(prefixed));
}

int kelDynamicObject::FindSymbol(long long (**symbol)(), const zuString& name) {
    if (record_->module == nullptr || !zukel::IsWhole(name)) {
        return zukel::Fail(record_->module == nullptr ? APR_EBADF : APR_ESYMNOTFOUND);
    }
    apr_dso_handle_sym_t address = nullptr;
    const apr_status_t status = apr_dso_sym(&address, record_->module->Handle(), name.c_str());
    if (status == APR_SUCCESS) {
        *symbol = reinterpret_cast<long long (*)()>(address);
    }
    return zukel::MapStatus(status);
}

int kelDynamicObject::UnloadLibrary() {
    const std::unique_ptr<zukel::Module> module = std::move(record_->module);
    return module == nullptr ? kelStatusOk : zukel::MapStatus(module->Unload());
}

zuString kelDynamicObject::GetError() {
    return record_->error;
}

zuString kelDynamicObject::GetLibraryName() const {
    return record_->name;
}
