#include "support/FakeEnvironment.h"

#include <apr_errno.h>

#include "platform/FileFacts.h"

namespace zukel::test {

FakeEnvironment* FakeEnvironment::current = nullptr;

}  // namespace zukel::test

namespace zukel::platform {

using test::FakeEnvironment;

namespace {

FakeEnvironment& Called(std::string call) {
    FakeEnvironment::current->calls.push_back(std::move(call));
    return *FakeEnvironment::current;
}

constexpr LocaleId kThreadsLocale = 1033;

}  // namespace

void RepeatEnvironmentVariable(const char* name, const char* value) noexcept {
    Called(std::string("Repeat ") + name + "=" + value);
}

LocaleId ThreadLocale() noexcept {
    Called("ThreadLocale");
    return kThreadsLocale;
}

int LocaleText(LocaleId locale, LocaleFact fact, char* buffer, int size) noexcept {
    const auto& fake = Called("LocaleText " + std::to_string(static_cast<int>(fact)));
    return locale == kThreadsLocale && fake.localeText ? fake.localeText(fact, buffer, size) : 0;
}

unsigned LongName(const char* name, char* buffer, unsigned size) noexcept {
    const auto& fake = Called(name + std::string(" ") + std::to_string(size));
    return fake.longName ? fake.longName(name, buffer, size) : 0;
}

apr_status_t QueryFile(apr_finfo_t& info, const char* name, apr_int32_t wanted,
                       apr_pool_t*) noexcept {
    const auto& fake = Called(std::string("QueryFile ") + name);
    return fake.queryFile ? fake.queryFile(info, wanted) : APR_ENOENT;
}

apr_status_t QueryPermissions(apr_finfo_t& info, const char* name, apr_pool_t*) noexcept {
    const auto& fake = Called(std::string("QueryPermissions ") + name);
    return fake.queryPermissions ? fake.queryPermissions(info) : APR_ENOENT;
}

}  // namespace zukel::platform
