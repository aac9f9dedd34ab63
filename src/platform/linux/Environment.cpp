#include "platform/Environment.h"

#include <langinfo.h>
#include <locale.h>

#include <charconv>
#include <cstring>
#include <memory>
#include <type_traits>

#include "platform/linux/LocaleName.h"

namespace zukel::platform {

namespace {

struct FreeLocale {
    void operator()(locale_t locale) const noexcept { freelocale(locale); }
};
using Locale = std::unique_ptr<std::remove_pointer_t<locale_t>, FreeLocale>;

const char* NameOf(const Locale& locale) noexcept {
    return nl_langinfo_l(_NL_LOCALE_NAME(LC_CTYPE), locale.get());
}

}  // namespace

bool MayBeEnvironmentVariable(const char*, const char*) noexcept {
    return true;
}

void RepeatEnvironmentVariable(const char*, const char*) noexcept {}

LocaleId ThreadLocale() noexcept {
    // A copy, because the program's own may be changed by another thread while it is looked at.
    Locale locale(duplocale(uselocale(static_cast<locale_t>(nullptr))));
    if (locale && std::strcmp(NameOf(locale), "C") == 0) {
        locale.reset(newlocale(LC_CTYPE_MASK, "", static_cast<locale_t>(nullptr)));
    }
    return locale ? PackLocale(NameOf(locale), nl_langinfo_l(CODESET, locale.get())) : 0;
}

int LocaleText(LocaleId locale, LocaleFact fact, char* buffer, int size) noexcept {
    if (locale == 0 || size < 3) {
        return 0;
    }
    char* const end = buffer + size;
    char* at = buffer;
    if (fact == LocaleFact::CodePage) {
        const auto written = std::to_chars(buffer, end, static_cast<std::uint32_t>(locale));
        if (written.ec != std::errc() || written.ptr == end) {
            return 0;
        }
        at = written.ptr;
    } else {
        const unsigned shift = fact == LocaleFact::Language ? 48 : 32;
        *at++ = static_cast<char>(locale >> (shift + 8U) & 0xFFU);
        *at++ = static_cast<char>(locale >> shift & 0xFFU);
    }
    *at++ = '\0';
    return static_cast<int>(at - buffer);
}

unsigned LongName(const char*, char*, unsigned) noexcept {
    return 0;
}

}  // namespace zukel::platform
