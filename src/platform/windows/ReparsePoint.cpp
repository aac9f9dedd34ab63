#include "platform/windows/ReparsePoint.h"

#include <cstring>
#include <iterator>

#include "platform/windows/System.h"

namespace zukel::platform {

namespace {

/// The head of `REPARSE_DATA_BUFFER` for links, which is in the headers of the driver kit alone.
/// The offsets are in bytes from the start of the paths.
struct Head {
    ULONG tag;
    USHORT size;
    USHORT reserved;
    USHORT substituteOffset;
    USHORT substituteSize;
    USHORT printOffset;
    USHORT printSize;
};

}  // namespace

bool LinkTarget(const void* data, std::size_t size, std::wstring& target) {
    Head head{};
    if (size < sizeof head) {
        return false;
    }
    std::memcpy(&head, data, sizeof head);
    const bool symbolic = head.tag == IO_REPARSE_TAG_SYMLINK;
    if (!symbolic && head.tag != IO_REPARSE_TAG_MOUNT_POINT) {
        return false;
    }
    const std::size_t start = sizeof head + (symbolic ? sizeof(ULONG) : 0);  // its flags
    const bool printed = head.printSize != 0;
    const std::size_t offset = start + (printed ? head.printOffset : head.substituteOffset);
    const std::size_t bytes = printed ? head.printSize : head.substituteSize;
    if (offset > size || bytes > size - offset) {
        return false;
    }
    std::wstring text(bytes / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), static_cast<const char*>(data) + offset, text.size() * sizeof text[0]);
    constexpr wchar_t kShare[] = L"\\??\\UNC\\";
    if (!printed && text.compare(0, std::size(kShare) - 1, kShare) == 0) {
        text.replace(0, std::size(kShare) - 1, L"\\\\");
    } else if (!printed && text.compare(0, 4, kShare, 4) == 0) {
        text.erase(0, 4);
    }
    target = std::move(text);
    return true;
}

}  // namespace zukel::platform
