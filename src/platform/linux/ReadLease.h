#pragma once

namespace zukel::platform {

/// A lease on a file that nobody has open for writing: a program that opens it for writing, or
/// truncates it, waits until the lease is released, and the holder can test whether one does. After
/// a time (45 seconds, /proc/sys/fs/lease-break-time) the system revokes the lease.
class ReadLease {
public:
    ReadLease() noexcept = default;
    ~ReadLease();
    ReadLease(const ReadLease&) = delete;
    ReadLease& operator=(const ReadLease&) = delete;

    /// Takes the lease, if the system grants it: not for another user's file, and not on every file
    /// system.
    ///
    /// @param file open for reading alone; it stays open for as long as this object lives.
    /// @returns false with EAGAIN while somebody has the file open for writing, and with another
    /// `errno` if no lease is granted.
    bool Take(int file) noexcept;

    /// Whether the lease was taken; it may be broken by now.
    bool IsTaken() const noexcept { return file_ != kNone; }

    /// Whether nobody has tried to open the file for writing since. True without a lease.
    bool IsUnbroken() const noexcept;

private:
    static constexpr int kNone = -1;
    int file_ = kNone;
};

}  // namespace zukel::platform
