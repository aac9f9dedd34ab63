#include "support/FakePlatform.h"

#include <algorithm>

#include "platform/Environment.h"
#include "platform/Files.h"
#include "support/Faults.h"

namespace zukel::platform {

test::UseFakePlatform& Called(const char* call, const std::string& argument) {
    test::UseFakePlatform::current->calls.push_back(call + argument);
    return *test::UseFakePlatform::current;
}

int MultibyteCodePage() noexcept {
    return test::UseFakePlatform::current->codePage;
}

int Utf8ToUtf16(const char* text, int length, char16_t* buffer, int capacity) noexcept {
    std::copy_n(text, buffer != nullptr ? capacity : 0, buffer);
    const int units = test::UseFakePlatform::current->units;
    return units != -1 ? units : length;
}

unsigned ShortPath(const char16_t* path, char16_t* buffer, unsigned) noexcept {
    const test::Guard ownWork = test::Counting(false);
    const std::u16string_view asked(path);
    const auto& fake = Called("ShortPath ", std::string(asked.begin(), asked.end()));
    const auto size = static_cast<int>(fake.shortPath.size());
    if (buffer == nullptr) {
        return static_cast<unsigned>(fake.measured != -1 ? fake.measured : size + 1);
    }
    std::copy_n(fake.shortPath.begin(), size, buffer);
    return static_cast<unsigned>(fake.fetched != -1 ? fake.fetched : size);
}

bool CloseInChildren(apr_file_t*) noexcept {
    return false;
}
long long WritePosition(apr_file_t*) noexcept {
    return -1;
}
void SetWritePosition(apr_file_t*, long long) noexcept {}
bool MayBeEnvironmentVariable(const char*, const char*) noexcept {
    return true;
}
void RepeatEnvironmentVariable(const char*, const char*) noexcept {}
LocaleId ThreadLocale() noexcept {
    return 0;
}
int LocaleText(LocaleId, LocaleFact, char*, int) noexcept {
    return 0;
}

unsigned LongName(const char* name, char* buffer, unsigned size) noexcept {
    return Called(name, " " + std::to_string(size)).longName(buffer, size);
}

MemoryBytes QueryMemory() noexcept {
    return test::UseFakePlatform::current->memory;
}
bool QueryDisk(const char*, DiskBytes&) noexcept {
    return false;
}

}  // namespace zukel::platform
