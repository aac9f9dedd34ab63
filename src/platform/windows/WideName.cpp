#include "platform/windows/WideName.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <new>

namespace zukel::platform {

namespace {

constexpr wchar_t kLongForm[] = L"\\\\?\\";
constexpr std::size_t kLongFormSize = std::size(kLongForm) - 1;
/// From this length on a directory of the name has no room for a file name in the plain form.
constexpr int kLongest = 248;

bool IsSeparator(wchar_t unit) noexcept {
    return unit == L'/' || unit == L'\\';
}

}  // namespace

WideName::WideName(const char* name) noexcept {
    const int size = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, name, -1, nullptr, 0);
    if (size <= 0) {
        return;  // no UTF-8, which must not become another name, or longer than the system counts
    }
    text_.reset(new (std::nothrow) wchar_t[static_cast<std::size_t>(size) + kLongFormSize]);
    if (!text_) {
        return;
    }
    wchar_t* const text = text_.get();
    MultiByteToWideChar(CP_UTF8, 0, name, -1, text, size);
    if (size > kLongest && text[1] == L':' && IsSeparator(text[2])) {
        std::wmemmove(text + kLongFormSize, text, static_cast<std::size_t>(size));
        std::wmemcpy(text, kLongForm, kLongFormSize);
        std::replace(text, text + kLongFormSize + size, L'/', L'\\');  // the long form takes no `/`
    }
}

}  // namespace zukel::platform
