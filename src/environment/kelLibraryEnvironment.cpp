#include <apr_env.h>
#include <apr_file_io.h>
#include <apr_network_io.h>
#include <apr_user.h>

#include <array>
#include <cctype>
#include <cstring>

#include "environment/kelLibraryRecord.h"
#include "kelLibrary.h"
#include "kelStatus.h"
#include "platform/Environment.h"

// Macros of <windows.h>, which the runtime's headers may include.
#undef GetEnvironmentVariable
#undef SetEnvironmentVariable

namespace {

/// The name of the process's user, in the pool; null when the system knows none.
const char* CurrentUser(apr_pool_t* pool) noexcept {
    apr_uid_t user{};
    apr_gid_t group{};
    char* name = nullptr;
    if (pool == nullptr || apr_uid_current(&user, &group, pool) != APR_SUCCESS ||
        apr_uid_name_get(&name, user, pool) != APR_SUCCESS) {
        return nullptr;
    }
    return name;
}

/// One fact about a locale, as the platform writes it.
struct Fact {
    std::array<char, 16> text{};
    int size = 0;  ///< With the terminating NUL; 0 or less when it could not be told.

    bool Ask(zukel::platform::LocaleId locale, zukel::platform::LocaleFact fact) noexcept {
        size =
            zukel::platform::LocaleText(locale, fact, text.data(), static_cast<int>(text.size()));
        return size > 0;
    }
};

char Lower(char letter) noexcept {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
}

}  // namespace

int kelLibrary::GetEnvironmentVariable(zuString& value, const zuString& name) {
    char* text = nullptr;
    if (!record_->pool || apr_env_get(&text, name.c_str(), record_->pool.Get()) != APR_SUCCESS) {
        return kelStatusNoVariable;
    }
    value.assign(text);
    return kelStatusOk;
}

int kelLibrary::SetEnvironmentVariable(const zuString& name, const zuString& value) {
    if (!record_->pool || !zukel::platform::MayBeEnvironmentVariable(name.c_str(), value.c_str()) ||
        apr_env_set(name.c_str(), value.c_str(), record_->pool.Get()) != APR_SUCCESS) {
        return kelStatusNoVariable;
    }
    zukel::platform::RepeatEnvironmentVariable(name.c_str(), value.c_str());
    return kelStatusOk;
}

int kelLibrary::GetCurrentUserName(zuString& name) {
    const char* const user = CurrentUser(record_->pool.Get());
    if (user == nullptr) {
        return kelStatusNoUser;
    }
    name.assign(user);
    return kelStatusOk;
}

int kelLibrary::GetUserDirectory(zuString& directory) {
    const char* const user = CurrentUser(record_->pool.Get());
    char* home = nullptr;
    if (user == nullptr || apr_uid_homepath_get(&home, user, record_->pool.Get()) != APR_SUCCESS) {
        return kelStatusNoUser;
    }
    directory.assign(home);
    return kelStatusOk;
}

int kelLibrary::GetHostName(zuString& name) {
    std::array<char, 257> text{};
    if (!record_->pool || apr_gethostname(text.data(), static_cast<int>(text.size()),
                                          record_->pool.Get()) != APR_SUCCESS) {
        return kelStatusFailed;
    }
    text.back() = '\0';  // a name that fills the buffer is not told to end in it
    name.assign(text.data());
    return kelStatusOk;
}

const char* kelLibrary::GetLocale() const {
    using zukel::platform::LocaleFact;
    if (!record_->pool) {
        return nullptr;
    }
    const zukel::platform::LocaleId locale = zukel::platform::ThreadLocale();
    Fact language;
    Fact country;
    Fact codePage;
    if (!language.Ask(locale, LocaleFact::Language) || !country.Ask(locale, LocaleFact::Country) ||
        !codePage.Ask(locale, LocaleFact::CodePage)) {
        return nullptr;
    }
    const int size = language.size + country.size + codePage.size + 3;
    auto* const text =
        static_cast<char*>(apr_palloc(record_->pool.Get(), static_cast<apr_size_t>(size)));
    if (text == nullptr) {
        return nullptr;
    }
    text[0] = Lower(language.text[0]);
    text[1] = Lower(language.text[1]);
    text[2] = '_';
    text[3] = country.text[0];
    text[4] = country.text[1];
    text[5] = '.';
    std::memcpy(text + 6, codePage.text.data(), static_cast<std::size_t>(codePage.size));
    return text;
}

zuString kelLibrary::GetTempDir() const {
    // Trying a directory can leave an open file in the pool, when the device is full; a pool for
    // this call alone takes it away at once.
    const zukel::Pool scratch;
    const char* directory = nullptr;
    if (!scratch || apr_temp_dir_get(&directory, scratch.Get()) != APR_SUCCESS) {
        return {};
    }
    return directory;
}
