#pragma once

#include <csignal>
#include <initializer_list>

namespace zukel::platform {

/// While this object lives, blocks signals in the calling thread that its own system calls may
/// raise. They are sent to that thread alone, so no other thread gets them.
class HeldSignals {
public:
    HeldSignals(std::initializer_list<int> signals) noexcept;
    ~HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    /// Discards those that a system call has raised since: the program never sees them. One that
    /// was pending before stays.
    void Discard() const noexcept;

private:
    sigset_t held_;    ///< Without those that were pending.
    sigset_t former_;  ///< The thread's mask before.
};

}  // namespace zukel::platform
