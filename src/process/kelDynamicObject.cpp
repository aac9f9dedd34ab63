#include "kelDynamicObject.h"

#include <apr_errno.h>
#include <apr_strings.h>

#include <utility>

#include "frame/StatusMapping.h"
#include "kelLibrary.h"
#include "process/kelDynamicObjectRecord.h"

#undef LoadLibrary  // a macro of <windows.h>, which the runtime's headers may include

namespace {

/// Keeps the text of the load that has just been tried. The runtime's own pointer to it is good
/// only until the thread's next call of the kind, whoever makes it.
void KeepText(kelDynamicObjectRecord& record, apr_dso_handle_t* tried,
              apr_status_t status) noexcept {
    char* const buffer = record.error.data();
    const char* const text = tried != nullptr ? apr_dso_error(tried, buffer, record.error.size())
                                              : apr_strerror(status, buffer, record.error.size());
    if (text != buffer) {
        apr_cpystrn(buffer, text, record.error.size());
    }
}

/// @param name the record takes it over; nothing from here on needs memory that could run out.
int Load(kelDynamicObjectRecord& record, zuString name) noexcept {
    record.name.clear();
    record.module = nullptr;  // an earlier module stays: the pool unloads it
    apr_dso_handle_t* tried = nullptr;
    apr_status_t status = APR_ENOPOOL;
    if (record.pool) {
        // The system takes the empty name for the program itself.
        status = *name.c_str() == '\0' ? APR_EDSOOPEN
                                       : apr_dso_load(&tried, name.c_str(), record.pool.Get());
    }
    KeepText(record, tried, status);
    if (status == APR_SUCCESS) {
        record.module = tried;
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
        return kelStatusFailed;
    }
    const zuString suffix = zuString(kelLibrary::GetSharedLibSuffix()).substr(0, 32);
    zuString plain = directory + "/" + name + suffix;
    zuString prefixed = directory + "/lib" + name + suffix;
    return Load(*record_, std::move(plain)) == kelStatusOk ? kelStatusOk
                                                           : Load(*record_, std::move(prefixed));
}

int kelDynamicObject::FindSymbol(long long (**symbol)(), const zuString& name) {
    if (record_->module == nullptr) {
        return kelStatusFailed;
    }
    apr_dso_handle_sym_t address = nullptr;
    const apr_status_t status = apr_dso_sym(&address, record_->module, name.c_str());
    if (status == APR_SUCCESS) {
        *symbol = reinterpret_cast<long long (*)()>(address);
    }
    return zukel::MapStatus(status);
}

int kelDynamicObject::UnloadLibrary() {
    return zukel::MapStatus(record_->Unload());
}

zuString kelDynamicObject::GetError() {
    return record_->error.data();
}

zuString kelDynamicObject::GetLibraryName() const {
    return record_->name;
}
