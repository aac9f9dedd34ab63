#include <apr_file_io.h>
#include <apr_network_io.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "environment/Variables.h"
#include "environment/kelLibraryRecord.h"
#include "frame/Pool.h"
#include "frame/StatusMapping.h"
#include "kelLibrary.h"
#include "platform/Environment.h"
#include "platform/Processes.h"
#include "zubase/AsciiCase.h"

namespace platform = zukel::platform;

// Macros of <windows.h>, which APR's headers may include.
#undef GetEnvironmentVariable
#undef SetEnvironmentVariable

namespace {

/// One text about a locale, as the platform writes it.
struct Fact {
    std::array<char, 16> text{};
    int size = 0;  ///< With the terminating NUL; 0 or less if unknown.

    bool Ask(platform::LocaleId locale, platform::LocaleFact fact) noexcept {
        size = platform::LocaleText(locale, fact, text.data(), static_cast<int>(text.size()));
        return size > 0;
    }
};

}  // namespace

int kelLibrary::GetEnvironmentVariable(zuString& value, const zuString& name) {
    return zukel::MapStatus(zukel::FindVariable(name, value) ? APR_SUCCESS : APR_ENOENT,
                            kelStatusNoVariable);
}

int kelLibrary::SetEnvironmentVariable(const zuString& name, const zuString& value) {
    const bool whole = zukel::IsWhole(name) && zukel::IsWhole(value);
    return zukel::MapStatus(
        whole ? platform::WriteEnvironmentVariable(name.c_str(), value.c_str()) : APR_EINVAL,
        kelStatusNoVariable);
}

int kelLibrary::UnsetEnvironmentVariable(const zuString& name) {
    const bool isName = !name.empty() && zukel::IsWhole(name) && name.find('=') == zuString::npos;
    return zukel::MapStatus(isName ? platform::RemoveEnvironmentVariable(name.c_str()) : APR_EINVAL,
                            kelStatusNoVariable);
}

int kelLibrary::GetEnvironmentNames(zuStlVector<zuString>& names) {
    zuStlVector<zuString> found;
    const apr_status_t status = platform::ReadEnvironment(found);
    if (status != APR_SUCCESS) {
        return zukel::Fail(status);
    }
    // Windows stores the current directories of drives under names that begin with it.
    const auto isHidden = [](const zuString& variable) { return variable[0] == '='; };
    found.erase(std::remove_if(found.begin(), found.end(), isHidden), found.end());
    for (zuString& variable : found) {
        variable.resize(std::min(variable.find('='), variable.size()));
    }
    names = std::move(found);
    return kelStatusOk;
}

int kelLibrary::GetProgramPath(zuString& path) {
    return zukel::MapStatus(platform::QueryProgramPath(path));
}

int kelLibrary::FindProgram(const zuString& name, zuString& path) {
    const apr_status_t status = !name.empty() && zukel::IsWhole(name)
                                    ? platform::FindProgramFile(name.c_str(), path)
                                    : APR_ENOENT;
    return zukel::MapStatus(status, kelStatusNotFound);
}

int kelLibrary::GetCurrentUserName(zuString& name) {
    return zukel::MapStatus(platform::QueryUserName(name), kelStatusNoUser);
}

int kelLibrary::GetUserDirectory(zuString& directory) {
    return zukel::MapStatus(platform::QueryUserDirectory(directory), kelStatusNoUser);
}

int kelLibrary::GetHostName(zuString& name) {
    const zukel::Pool scratch;
    std::array<char, 257> text{};
    const apr_status_t status =
        scratch ? apr_gethostname(text.data(), static_cast<int>(text.size()), scratch.Get())
                : APR_ENOPOOL;
    if (status != APR_SUCCESS) {
        return zukel::Fail(status);
    }
    text.back() = '\0';  // a name that fills the buffer may lack its NUL
    name.assign(text.data());
    return kelStatusOk;
}

const char* kelLibrary::GetLocale() const {
    using platform::LocaleFact;
    const platform::LocaleId locale = platform::ThreadLocale();
    Fact language;
    Fact country;
    Fact codePage;
    if (!language.Ask(locale, LocaleFact::Language) || !country.Ask(locale, LocaleFact::Country) ||
        !codePage.Ask(locale, LocaleFact::CodePage)) {
        zukel::Fail(APR_ENOTIMPL);
        return nullptr;
    }
    auto& text = record_->locales.emplace_front();
    const char start[] = {zukel::ToLowerAscii(language.text[0]),
                          zukel::ToLowerAscii(language.text[1]),
                          '_',
                          country.text[0],
                          country.text[1],
                          '.'};
    static_assert(sizeof start + sizeof codePage.text <= sizeof text);
    std::memcpy(text.data(), start, sizeof start);
    std::memcpy(text.data() + sizeof start, codePage.text.data(), sizeof codePage.text);
    return text.data();
}

zuString kelLibrary::GetTempDir() const {
    // Testing a directory on a full device can leave an open file in the pool; a pool for this call
    // alone closes it at once.
    const zukel::Pool scratch;
    const char* directory = nullptr;
    const apr_status_t status = scratch ? apr_temp_dir_get(&directory, scratch.Get()) : APR_ENOPOOL;
    return zukel::MapStatus(status) == kelStatusOk && directory != nullptr ? zuString(directory)
                                                                           : zuString();
}
