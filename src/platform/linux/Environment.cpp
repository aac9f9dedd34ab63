#include "platform/Environment.h"

#include <langinfo.h>
#include <locale.h>
#include <pwd.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>

#include "platform/linux/LocaleName.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

namespace {

struct FreeLocale {
    void operator()(locale_t locale) const noexcept { freelocale(locale); }
};
using Locale = std::unique_ptr<std::remove_pointer_t<locale_t>, FreeLocale>;

const char* NameOf(const Locale& locale) noexcept {
    return nl_langinfo_l(_NL_LOCALE_NAME(LC_CTYPE), locale.get());
}

/// One text from the database record of the process's user.
apr_status_t QueryUser(zuString& text, char* passwd::*field) {
    const Uncancelled uncancelled;
    zuStlVector<char> room(1024);
    passwd user{};
    passwd* found = nullptr;
    int error = 0;
    while ((error = getpwuid_r(getuid(), &user, room.data(), room.size(), &found)) == ERANGE ||
           error == EINTR) {
        room.resize(error == ERANGE ? room.size() * 2 : room.size());
    }
    if (error != 0 || found == nullptr || user.*field == nullptr) {
        return error != 0 ? error : ENOENT;
    }
    text.assign(user.*field);
    return APR_SUCCESS;
}

}  // namespace

bool ReadEnvironmentVariable(const char* name, zuString& value) {
    const char* const text = std::getenv(name);
    if (text == nullptr) {
        return false;
    }
    value.assign(text);
    return true;
}

apr_status_t WriteEnvironmentVariable(const char* name, const char* value) noexcept {
    return StatusOf(setenv(name, value, 1));
}

apr_status_t RemoveEnvironmentVariable(const char* name) noexcept {
    return StatusOf(unsetenv(name));
}

apr_status_t ReadEnvironment(zuStlVector<zuString>& variables) {
    zuStlVector<zuString> found;
    for (char** each = environ; each != nullptr && *each != nullptr; ++each) {
        found.emplace_back(*each);
    }
    variables = std::move(found);
    return APR_SUCCESS;
}

bool IsSameVariable(const zuString& one, const zuString& other) {
    return one == other;
}

apr_status_t QueryUserName(zuString& name) {
    return QueryUser(name, &passwd::pw_name);
}

apr_status_t QueryUserDirectory(zuString& directory) {
    return QueryUser(directory, &passwd::pw_dir);
}

LocaleId ThreadLocale() noexcept {
    const Uncancelled uncancelled;
    // A copy, because another thread may change the program's locale meanwhile.
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
