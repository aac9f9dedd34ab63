#pragma once

namespace zukel {

/// One counted use of APR. The first use in this copy of the library starts APR, the last one stops
/// it.
///
/// Any number of threads may make and end uses at once, also in several copies of the library in
/// one process. APR counts its users in a plain integer, so the two calls that change it are made
/// under a lock that the whole process shares.
class AprUse {
public:
    AprUse() noexcept;
    ~AprUse();
    AprUse(const AprUse&) = delete;
    AprUse& operator=(const AprUse&) = delete;

    /// False if APR could not be started. Such a use holds no count.
    bool IsStarted() const noexcept { return started_; }

private:
    bool started_;
};

}  // namespace zukel
