#pragma once

namespace zukel {

/// One counted use of the runtime: starts it when it is the first, stops it when it is the last.
///
/// The runtime keeps its count of users in a plain integer, so this class takes a lock around the
/// two calls that change it. Any number of threads may make and end uses at once.
class RuntimeUse {
public:
    RuntimeUse() noexcept;
    ~RuntimeUse();
    RuntimeUse(const RuntimeUse&) = delete;
    RuntimeUse& operator=(const RuntimeUse&) = delete;

    /// False when the runtime could not be started. Such a use holds no count.
    bool IsStarted() const noexcept { return started_; }

private:
    bool started_;
};

}  // namespace zukel
