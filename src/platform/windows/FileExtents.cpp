#include "platform/FileExtents.h"

#include <cstdint>
#include <utility>

#include "platform/windows/Handle.h"
#include "platform/windows/HandleOf.h"
#include "platform/windows/OpenFile.h"

namespace zukel::platform {

namespace {

/// Restores the position of a file after a transfer at another one: the system moves the position
/// with every transfer. One of a few locks for all files keeps two such transfers of one handle
/// apart; the system serialises the transfers of a handle anyway.
class KeptPlace {
public:
    explicit KeptPlace(HANDLE file) noexcept : file_(file), lock_(LockFor(file)) {
        AcquireSRWLockExclusive(&lock_);
        known_ = SetFilePointerEx(file_, {}, &place_, FILE_CURRENT) != 0;
    }
    ~KeptPlace() {
        SetFilePointerEx(file_, place_, nullptr, FILE_BEGIN);
        ReleaseSRWLockExclusive(&lock_);
    }
    KeptPlace(const KeptPlace&) = delete;
    KeptPlace& operator=(const KeptPlace&) = delete;

    bool IsKnown() const noexcept { return known_; }

private:
    static SRWLOCK& LockFor(HANDLE file) noexcept {
        constexpr std::size_t kLocks = 16;
        static SRWLOCK locks[kLocks];  // all zeros is unlocked
        return locks[reinterpret_cast<std::uintptr_t>(file) / 4 % kLocks];
    }

    HANDLE file_;
    SRWLOCK& lock_;
    LARGE_INTEGER place_{};
    bool known_ = false;
};

OVERLAPPED At(long long offset) noexcept {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(static_cast<std::uint64_t>(offset) >> 32U);
    return place;
}

bool HasPlaces(const FileHandle& file) noexcept {
    return GetFileType(HandleOf(file)) == FILE_TYPE_DISK;
}

DWORD SetEnd(HANDLE file, long long length) noexcept {
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = length;
    return SetFileInformationByHandle(file, FileEndOfFileInfo, &end, sizeof end) != 0
               ? ERROR_SUCCESS
               : GetLastError();
}

/// Transfers up to `size` bytes at an offset, without changing the position.
///
/// @param size receives how many were transferred; 0 after a failure.
/// @param move the call, with the size, the counter of bytes transferred, and the offset.
template <typename Move>
apr_status_t MoveAt(const FileHandle& file, long long offset, std::size_t& size,
                    Move move) noexcept {
    const DWORD wanted = AtOnce(std::exchange(size, 0));
    if (!HasPlaces(file)) {
        return SystemStatus(ERROR_SEEK_ON_DEVICE);
    }
    const KeptPlace kept(HandleOf(file));
    OVERLAPPED place = At(offset);
    DWORD moved = 0;
    if (!kept.IsKnown() || move(wanted, moved, place) == 0) {
        return LastStatus();
    }
    size = moved;
    return APR_SUCCESS;
}

}  // namespace

apr_status_t SyncFile(const FileHandle& file) noexcept {
    if (FlushFileBuffers(HandleOf(file)) != 0) {
        return APR_SUCCESS;
    }
    const DWORD error = GetLastError();
    if (error != ERROR_ACCESS_DENIED) {
        return SystemStatus(error);
    }
    // A handle that only reads lacks the right to flush the file.
    const Handle writing(ReOpenFile(HandleOf(file), GENERIC_WRITE, kShareAll, 0));
    return writing && FlushFileBuffers(writing.Get()) != 0 ? APR_SUCCESS : LastStatus();
}

apr_status_t QueryLength(const FileHandle& file, long long& length) noexcept {
    LARGE_INTEGER size{};
    if (!HasPlaces(file)) {
        return APR_EINVAL;
    }
    if (GetFileSizeEx(HandleOf(file), &size) == 0) {
        return LastStatus();
    }
    length = size.QuadPart;
    return APR_SUCCESS;
}

apr_status_t ChangeLength(const FileHandle& file, long long length) noexcept {
    DWORD error = SetEnd(HandleOf(file), length);
    if (error == ERROR_ACCESS_DENIED) {
        // A handle that only appends may not.
        const Handle writing(ReOpenFile(HandleOf(file), GENERIC_WRITE, kShareAll, 0));
        error = writing ? SetEnd(writing.Get(), length) : GetLastError();
    }
    return SystemStatus(error);
}

apr_status_t ReadBytesAt(const FileHandle& file, long long offset, void* target,
                         std::size_t& size) noexcept {
    const apr_status_t status =
        MoveAt(file, offset, size, [&](DWORD wanted, DWORD& got, OVERLAPPED& place) {
            return ReadFile(HandleOf(file), target, wanted, &got, &place);
        });
    return status == SystemStatus(ERROR_HANDLE_EOF) ? APR_SUCCESS : status;
}

apr_status_t WriteBytesAt(const FileHandle& file, long long offset, const void* source,
                          std::size_t& size) noexcept {
    const bool wanted = size != 0;
    const apr_status_t status =
        MoveAt(file, offset, size, [&](DWORD piece, DWORD& put, OVERLAPPED& place) {
            return WriteFile(HandleOf(file), source, piece, &put, &place);
        });
    const bool full = status == APR_SUCCESS && wanted && size == 0;
    return full ? SystemStatus(ERROR_DISK_FULL) : status;
}

}  // namespace zukel::platform
