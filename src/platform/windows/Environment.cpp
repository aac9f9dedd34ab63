#include "platform/Environment.h"

#include <cstdlib>
#include <cstring>

#include "platform/windows/WideName.h"

namespace zukel::platform {

bool MayBeEnvironmentVariable(const char* name, const char* value) noexcept {
    const auto fits = [](const char* text) {
        constexpr int kMost = 32766;
        const int size = MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
        return size > 0 && size - 1 <= kMost;
    };
    return *name != '\0' && std::strchr(name, '=') == nullptr && fits(name) && fits(value);
}

void RepeatEnvironmentVariable(const char* name, const char* value) noexcept {
    if (_putenv_s(name, value) != 0 || *value == '\0') {
        return;
    }
    // The C library hands the narrow texts on to the system, which reads them in the code page of
    // the process. Where that is not UTF-8, this brings back what the runtime has set.
    const WideName wideName(name);
    const WideName wideValue(value);
    if (GetACP() != CP_UTF8 && wideName && wideValue) {
        SetEnvironmentVariableW(wideName.Get(), wideValue.Get());
    }
}

LocaleId ThreadLocale() noexcept {
    return GetThreadLocale();
}

int LocaleText(LocaleId locale, LocaleFact fact, char* buffer, int size) noexcept {
    // The two letters of the standards: those of the system's own three-letter forms differ for
    // some (SWE, CHS).
    const LCTYPE type = fact == LocaleFact::Language  ? LOCALE_SISO639LANGNAME
                        : fact == LocaleFact::Country ? LOCALE_SISO3166CTRYNAME
                                                      : LOCALE_IDEFAULTANSICODEPAGE;
    const int length = GetLocaleInfoA(static_cast<LCID>(locale), type, buffer, size);
    constexpr int kTwoLetters = 3;  // with the NUL
    return fact == LocaleFact::CodePage || length == kTwoLetters ? length : 0;
}

unsigned LongName(const char* name, char* buffer, unsigned size) noexcept {
    return GetLongPathNameA(name, buffer, size);
}

}  // namespace zukel::platform
