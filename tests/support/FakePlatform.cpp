#include "support/FakePlatform.h"

#include "platform/Files.h"
#include "support/Faults.h"

namespace zukel::test {

FakePlatform* FakePlatform::current = nullptr;

}  // namespace zukel::test

namespace zukel::platform {

namespace {

/// Records the call and answers by the test's function, or with the failure value.
template <typename Result, typename Function, typename... Arguments>
Result Answer(const char* call, const std::string& argument, Function test::FakePlatform::*function,
              Result failure, Arguments... arguments) {
    const test::FaultPause ownWork;
    auto& fake = *test::FakePlatform::current;
    fake.calls.push_back(call + argument);
    return fake.*function ? (fake.*function)(arguments...) : failure;
}

}  // namespace

using test::FakePlatform;

int MultibyteCodePage() noexcept {
    return Answer("MultibyteCodePage", "", &FakePlatform::multibyteCodePage, 0);
}

int Utf8ToUtf16(const char* text, int length, char16_t* buffer, int capacity) noexcept {
    const test::FaultPause ownWork;
    const std::string bytes(text, static_cast<std::size_t>(length));
    return Answer("Utf8ToUtf16 ", bytes, &FakePlatform::utf8ToUtf16, 0, bytes, buffer, capacity);
}

unsigned ShortPath(const char16_t* path, char16_t* buffer, unsigned capacity) noexcept {
    return Answer("ShortPath", "", &FakePlatform::shortPath, 0U, path, buffer, capacity);
}

bool CloseInChildren(apr_file_t* file) noexcept {
    return Answer("CloseInChildren", "", &FakePlatform::closeInChildren, false, file);
}

long long WritePosition(apr_file_t*) noexcept {
    return -1;
}

void SetWritePosition(apr_file_t*, long long) noexcept {}

}  // namespace zukel::platform
