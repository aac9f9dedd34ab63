#include "platform/Modules.h"

#include <apr_portable.h>

#include <cwchar>
#include <memory>
#include <new>

#include "platform/windows/WideName.h"

namespace zukel::platform {

namespace {

/// The name, with a dot behind it if it has no extension: otherwise `LoadLibraryExW` adds `.dll`.
bool Complete(const wchar_t* name, std::unique_ptr<wchar_t[]>& complete) noexcept {
    const std::size_t length = std::wcslen(name);
    complete.reset(new (std::nothrow) wchar_t[length + 2]);
    if (!complete) {
        return false;
    }
    std::wmemcpy(complete.get(), name, length + 1);
    std::size_t at = length;
    while (at > 0 && std::wcschr(L"./\\:", name[at - 1]) == nullptr) {
        --at;
    }
    if (at == 0 || name[at - 1] != L'.') {
        std::wmemcpy(complete.get() + length, L".", 2);
    }
    return true;
}

}  // namespace

apr_status_t LoadModule(const char* name, apr_pool_t* pool, apr_dso_handle_t*& tried) noexcept {
    tried = nullptr;
    WideName wide(name);
    if (!wide) {
        return wide.Status();
    }
    DWORD search = LOAD_LIBRARY_SEARCH_DEFAULT_DIRS;
    if (std::wcspbrk(wide.Get(), L"/\\:") != nullptr) {
        search |= LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR;
        if (!wide.MakeAbsolute()) {
            return wide.Status();
        }
    }
    std::unique_ptr<wchar_t[]> complete;
    if (!Complete(wide.Get(), complete)) {
        return APR_ENOMEM;
    }
    DWORD mode = 0;  // no message box if the drive has no disk
    SetThreadErrorMode(GetThreadErrorMode() | SEM_FAILCRITICALERRORS, &mode);
    const HMODULE module = LoadLibraryExW(complete.get(), nullptr, search);
    const apr_status_t status = module != nullptr ? APR_SUCCESS : LastStatus();
    SetThreadErrorMode(mode, nullptr);
    return module == nullptr ? status : apr_os_dso_handle_put(&tried, module, pool);
}

}  // namespace zukel::platform
