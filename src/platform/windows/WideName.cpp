#include "platform/windows/WideName.h"

#include <cstring>
#include <cwchar>
#include <iterator>
#include <new>

namespace zukel::platform {

namespace {

/// From this length on, with the NUL, a directory has no room for a file with an 8.3 name
/// (MAX_PATH).
constexpr std::size_t kLongestPlain = 248;
constexpr std::size_t kLongestComponent = 255;
constexpr std::size_t kLongest = 32766;

bool IsSeparator(wchar_t unit) noexcept {
    return unit == L'/' || unit == L'\\';
}

wchar_t UpperAscii(wchar_t unit) noexcept {
    return unit >= L'a' && unit <= L'z' ? static_cast<wchar_t>(unit - L'a' + L'A') : unit;
}

bool EqualsIgnoringCase(const wchar_t* text, std::size_t length, const wchar_t* upper) noexcept {
    for (std::size_t at = 0; at < length; ++at) {
        if (UpperAscii(text[at]) != upper[at]) {  // also at the end of `upper`
            return false;
        }
    }
    return upper[length] == L'\0';
}

/// Whether the name is in the namespace `\\?\` or `\\.\`, in which the system changes nothing.
bool IsOfTheSystem(const wchar_t* name) noexcept {
    return IsSeparator(name[0]) && IsSeparator(name[1]) && (name[2] == L'?' || name[2] == L'.') &&
           IsSeparator(name[3]);
}

/// Whether the name does not depend on a current directory.
bool IsAbsolute(const wchar_t* name) noexcept {
    return name[0] != L'\0' && ((name[1] == L':' && IsSeparator(name[2])) ||
                                (IsSeparator(name[0]) && IsSeparator(name[1])));
}

/// The digit of a port, including superscripts.
bool IsPortNumber(wchar_t unit) noexcept {
    return (unit >= L'1' && unit <= L'9') || unit == L'\u00B9' || unit == L'\u00B2' ||
           unit == L'\u00B3';
}

bool IsDevice(const wchar_t* text, std::size_t length) noexcept {
    for (const wchar_t* const device : {L"NUL", L"CON", L"PRN", L"AUX", L"CONIN$", L"CONOUT$"}) {
        if (EqualsIgnoringCase(text, length, device)) {
            return true;
        }
    }
    return length == 4 && IsPortNumber(text[3]) &&
           (EqualsIgnoringCase(text, 3, L"COM") || EqualsIgnoringCase(text, 3, L"LPT"));
}

}  // namespace

bool IsReservedName(const wchar_t* component, std::size_t length) noexcept {
    std::size_t stop = 0;
    while (stop < length && component[stop] != L'.' && component[stop] != L':') {
        ++stop;
    }
    while (stop > 0 && component[stop - 1] == L' ') {
        --stop;
    }
    return IsDevice(component, stop);
}

WideName::WideName(const char* name, Devices devices) noexcept {
    *inline_ = L'\0';
    if (Convert(name)) {
        Settle(devices);
    }
}

WideName::WideName(const wchar_t* name, Devices devices) noexcept {
    *inline_ = L'\0';
    const std::size_t size = std::wcslen(name) + 1;
    if (size > kLongest) {
        Refuse(ERROR_FILENAME_EXCED_RANGE);
    } else if (Reserve(size, longer_)) {
        std::wmemcpy(longer_.get(), name, size);
        text_ = longer_.get();
        Settle(devices);
    }
}

bool WideName::Reserve(std::size_t size, std::unique_ptr<wchar_t[]>& room) noexcept {
    room.reset(new (std::nothrow) wchar_t[size]);
    if (!room) {
        status_ = APR_ENOMEM;
    }
    return room != nullptr;
}

bool WideName::Convert(const char* name) noexcept {
    const auto convert = [name](wchar_t* target, int capacity) {
        return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, name, -1, target, capacity);
    };
    if (std::strlen(name) >= 3 * kLongest) {  // a unit has three bytes at most
        Refuse(ERROR_FILENAME_EXCED_RANGE);
        return false;
    }
    if (convert(inline_, kInline) > 0) {
        return true;
    }
    *inline_ = L'\0';
    const int size = convert(nullptr, 0);
    if (size <= 0) {
        Refuse(ERROR_FILE_NOT_FOUND);
        return false;
    }
    if (!Reserve(static_cast<std::size_t>(size), longer_)) {
        return false;
    }
    convert(longer_.get(), size);
    text_ = longer_.get();
    return true;
}

bool WideName::Settle(Devices devices) noexcept {
    if (IsOfTheSystem(text_)) {
        return true;
    }
    std::size_t start = 0;  // of the component
    std::size_t length = 0;
    for (;; ++length) {
        const wchar_t unit = text_[length];
        const bool drive = length == 1 && unit == L':';
        if (unit != L'\0' && !IsSeparator(unit) && !drive) {
            continue;
        }
        if (length - start > kLongestComponent) {
            return Refuse(ERROR_FILENAME_EXCED_RANGE);
        }
        const bool whole = start == 0 && unit == L'\0' && devices == Devices::Taken;
        if (!(whole && IsDevice(text_, length)) && IsReservedName(text_ + start, length - start)) {
            return Refuse(ERROR_INVALID_NAME);
        }
        if (unit == L'\0') {
            break;
        }
        start = length + 1;
    }
    const bool isLong = length >= kLongestPlain;
    const bool growsLong = !isLong && length != 0 && !IsAbsolute(text_) &&
                           GetFullPathNameW(text_, 0, nullptr, nullptr) > kLongestPlain;
    return (!isLong && !growsLong) || Extend(Form::Absolute);
}

bool WideName::Extend(Form form) noexcept {
    if (IsOfTheSystem(text_)) {
        return true;
    }
    constexpr wchar_t kDrive[] = L"\\\\?\\";
    constexpr wchar_t kShare[] = L"\\\\?\\UNC\\";
    constexpr std::size_t kShareSize = std::size(kShare) - 1;
    const DWORD size = GetFullPathNameW(text_, 0, nullptr, nullptr);
    std::unique_ptr<wchar_t[]> room;
    if (size == 0 || size > kLongest) {
        return Refuse(ERROR_FILENAME_EXCED_RANGE);
    }
    if (!Reserve(kShareSize + size, room)) {
        return false;
    }
    wchar_t* const full = room.get() + kShareSize;
    const DWORD length = GetFullPathNameW(text_, size, full, nullptr);
    if (length == 0 || length >= size) {  // the current directory has changed in between
        return Refuse(ERROR_FILENAME_EXCED_RANGE);
    }
    const wchar_t* text = full;
    if ((form == Form::Extended || length >= kLongestPlain) && !IsOfTheSystem(full)) {
        const bool share = IsSeparator(full[0]);  // the prefix includes its two separators
        const std::size_t prefix = share ? kShareSize : std::size(kDrive) - 1;
        wchar_t* const start = full + (share ? 2 : 0) - prefix;
        std::wmemcpy(start, share ? kShare : kDrive, prefix);
        text = start;
    }
    text_ = text;
    longer_ = std::move(room);
    return true;
}

bool ToWide(const char* text, std::wstring& wide) {
    const int size = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, -1, nullptr, 0);
    if (size <= 0) {
        return false;
    }
    std::wstring converted(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text, -1, converted.data(), size);
    converted.pop_back();
    wide = std::move(converted);
    return true;
}

std::string ToUtf8(const std::wstring& text) {
    const auto units = static_cast<int>(text.size());
    const auto convert = [&](char* target, int capacity) {
        return WideCharToMultiByte(CP_UTF8, 0, text.c_str(), units, target, capacity, nullptr,
                                   nullptr);
    };
    std::string narrow(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
    convert(narrow.data(), static_cast<int>(narrow.size()));
    return narrow;
}

}  // namespace zukel::platform
