#include "platform/windows/TemporaryFile.h"

#include <array>
#include <cwchar>

#include "platform/windows/OpenFile.h"

namespace zukel::platform {

TemporaryFile::TemporaryFile(const wchar_t* target) : target_(target) {
    const std::wstring place(target);
    const std::size_t stop = place.find_last_of(L"/\\:");
    const std::wstring folder = place.substr(0, stop == std::wstring::npos ? 0 : stop + 1);
    constexpr unsigned kTries = 1000;
    constexpr unsigned kTriesDenied = 10;
    for (unsigned number = 0; number < kTries && !file_; ++number) {
        std::array<wchar_t, 40> name{};
        std::swprintf(name.data(), name.size(), L".zukel-%lx-%x",
                      static_cast<unsigned long>(GetCurrentProcessId()), number);
        name_ = folder + name.data();
        file_ = Handle(CreateFileW(name_.c_str(), GENERIC_WRITE | DELETE, kShareAll, nullptr,
                                   CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        const DWORD error = file_ ? ERROR_SUCCESS : GetLastError();
        // A removed file whose last handle is still open, such as a scanner's, denies its name.
        const bool taken =
            error == ERROR_FILE_EXISTS || (error == ERROR_ACCESS_DENIED && number < kTriesDenied);
        if (!taken) {
            break;
        }
    }
    made_ = static_cast<bool>(file_);
}

TemporaryFile::~TemporaryFile() {
    file_.Close();
    if (made_) {
        SetFileAttributesW(name_.c_str(), FILE_ATTRIBUTE_NORMAL);  // it may have become read-only
        DeleteFileW(name_.c_str());
    }
}

bool TemporaryFile::TakeTargetsName() noexcept {
    constexpr DWORD kHow = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    made_ = !file_.Close() || MoveFileExW(name_.c_str(), target_, kHow) == 0;
    return !made_;
}

DWORD TemporaryFile::TakeTargetsNameOpen() noexcept {
    const DWORD error = RepeatWhileShared([this] { return RenameOpenFile(file_, target_); });
    made_ = error != ERROR_SUCCESS;
    return error;
}

}  // namespace zukel::platform
