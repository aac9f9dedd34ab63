#pragma once

namespace zukel::platform {

/// A lease on a file that nobody has open for writing: whoever opens it for writing, or truncates
/// it, is made to wait until the lease is given back, and the holder can ask whether somebody does.
/// After a time (45 seconds, /proc/sys/fs/lease-break-time) the system takes the lease back.
class ReadLease {
public:
    ReadLease() noexcept = default;
    ~ReadLease();
    ReadLease(const ReadLease&) = delete;
    ReadLease& operator=(const ReadLease&) = delete;

    /// Takes the lease, if the system lends one: not to a stranger, and not on every volume.
    ///
    /// @param file open for reading alone; it stays open for as long as this object lives.
    /// @returns false with EAGAIN while somebody has the file open for writing, and with another
    /// `errno` when no lease can be had.
    bool Take(int file) noexcept;

    /// Whether the lease was taken; it may be broken by now.
    bool IsTaken() const noexcept { return file_ != kNone; }

    /// Whether nobody has asked for the file since. True without a lease.
    bool IsUnbroken() const noexcept;

private:
    static constexpr int kNone = -1;
    int file_ = kNone;
};

}  // namespace zukel::platform
