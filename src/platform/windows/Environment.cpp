#include "platform/windows/System.h"

#include "platform/Environment.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>

#include "platform/windows/Security.h"
#include "platform/windows/WideName.h"

#include <userenv.h>

namespace zukel::platform {

bool ReadEnvironmentVariable(const char* name, zuString& value) {
    std::wstring wideName;
    std::wstring text;
    if (!ToWide(name, wideName)) {
        return false;
    }
    for (DWORD size = 1;;) {
        text.resize(size);
        SetLastError(ERROR_SUCCESS);
        const DWORD length = GetEnvironmentVariableW(wideName.c_str(), text.data(), size);
        if (length == 0 && GetLastError() != ERROR_SUCCESS) {
            return false;
        }
        if (length < size) {
            text.resize(length);
            break;
        }
        size = length + 1;
    }
    value = ToUtf8(text);
    return true;
}

apr_status_t WriteEnvironmentVariable(const char* name, const char* value) noexcept {
    constexpr int kMost = 32766;
    constexpr std::size_t kSize = kMost + 1;
    const std::unique_ptr<wchar_t[]> room(new (std::nothrow) wchar_t[2 * kSize]);
    if (!room) {
        return APR_ENOMEM;
    }
    if (*name == '\0' || std::strchr(name, '=') != nullptr) {
        return APR_EINVAL;
    }
    wchar_t* const wideName = room.get();
    wchar_t* const wideValue = wideName + kSize;
    const auto convert = [](const char* text, wchar_t* wide) {
        return std::strlen(text) <= 3 * kSize &&
               MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, -1, wide, kSize) > 0;
    };
    if (!convert(name, wideName) || !convert(value, wideValue)) {
        return APR_EINVAL;
    }
    if (_putenv_s(name, value) != 0) {
        return LastStatus();
    }
    // msvcrt passes the narrow texts on to the system, which converts them by the process's code
    // page. So the system gets the right ones afterwards.
    const wchar_t* const kept = *wideValue == L'\0' ? nullptr : wideValue;
    return SetEnvironmentVariableW(wideName, kept) != 0 || kept == nullptr ? APR_SUCCESS
                                                                           : LastStatus();
}

apr_status_t RemoveEnvironmentVariable(const char* name) noexcept {
    return WriteEnvironmentVariable(name, "");
}

apr_status_t ReadEnvironment(zuStlVector<zuString>& variables) {
    struct Free {
        void operator()(wchar_t* block) const noexcept { FreeEnvironmentStringsW(block); }
    };
    const std::unique_ptr<wchar_t, Free> block(GetEnvironmentStringsW());
    if (!block) {
        return LastStatus();
    }
    zuStlVector<zuString> found;
    for (const wchar_t* each = block.get(); *each != L'\0'; each += std::wcslen(each) + 1) {
        found.push_back(ToUtf8(each));
    }
    variables = std::move(found);
    return APR_SUCCESS;
}

bool IsSameVariable(const zuString& one, const zuString& other) {
    std::wstring first;
    std::wstring second;
    return ToWide(one.c_str(), first) && ToWide(other.c_str(), second) &&
           CompareStringOrdinal(first.c_str(), -1, second.c_str(), -1, TRUE) == CSTR_EQUAL;
}

apr_status_t QueryUserName(zuString& name) {
    SecurityId user{};
    SID_NAME_USE use{};
    // The longest names of an account and of a domain (UNLEN, DNLEN) fit.
    std::array<wchar_t, 257> account{};
    std::array<wchar_t, 257> domain{};
    auto accountSize = static_cast<DWORD>(account.size());
    auto domainSize = static_cast<DWORD>(domain.size());
    if (!CurrentUser(user) || LookupAccountSidW(nullptr, user.Get(), account.data(), &accountSize,
                                                domain.data(), &domainSize, &use) == 0) {
        return LastStatus();
    }
    name = ToUtf8(account.data());
    return APR_SUCCESS;
}

apr_status_t QueryUserDirectory(zuString& directory) {
    HANDLE opened = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened) == 0) {
        return LastStatus();
    }
    const Handle token(opened);
    DWORD size = 0;
    GetUserProfileDirectoryW(token.Get(), nullptr, &size);
    std::wstring path(size, L'\0');
    if (size == 0 || GetUserProfileDirectoryW(token.Get(), path.data(), &size) == 0) {
        return LastStatus();
    }
    zuString told = ToUtf8(path.c_str());
    std::replace(told.begin(), told.end(), '\\', '/');
    directory = std::move(told);
    return APR_SUCCESS;
}

LocaleId ThreadLocale() noexcept {
    return GetThreadLocale();
}

int LocaleText(LocaleId locale, LocaleFact fact, char* buffer, int size) noexcept {
    // By ISO 639 and ISO 3166: the first two letters of the system's own abbreviations (SWE, CHS)
    // are not always the same.
    const LCTYPE type = fact == LocaleFact::Language  ? LOCALE_SISO639LANGNAME
                        : fact == LocaleFact::Country ? LOCALE_SISO3166CTRYNAME
                                                      : LOCALE_IDEFAULTANSICODEPAGE;
    const int length = GetLocaleInfoA(static_cast<LCID>(locale), type, buffer, size);
    constexpr int kTwoLetters = 3;  // with the NUL
    return fact == LocaleFact::CodePage || length == kTwoLetters ? length : 0;
}

unsigned LongName(const char* name, char* buffer, unsigned size) noexcept {
    const WideName wide(name);
    std::unique_ptr<wchar_t[]> found;
    DWORD length = wide ? GetLongPathNameW(wide.Get(), nullptr, 0) : 0;
    if (length != 0) {
        found.reset(new (std::nothrow) wchar_t[length]);
        const DWORD room = length;
        length = found ? GetLongPathNameW(wide.Get(), found.get(), room) : 0;
        if (length >= room) {  // the path has changed in between
            return 0;
        }
    }
    if (length == 0) {
        return 0;
    }
    const int needed =
        WideCharToMultiByte(CP_UTF8, 0, found.get(), -1, nullptr, 0, nullptr, nullptr);
    if (needed <= 0 || static_cast<unsigned>(needed) > size) {
        return needed > 0 ? static_cast<unsigned>(needed) : 0;
    }
    WideCharToMultiByte(CP_UTF8, 0, found.get(), -1, buffer, needed, nullptr, nullptr);
    return static_cast<unsigned>(needed) - 1;
}

}  // namespace zukel::platform
