#pragma once

#include <csignal>
#include <initializer_list>

namespace zukel::platform {

/// Blocks signals in the calling thread that its own system calls may raise, for as long as this
/// object lives. All of them are sent to that thread alone, so no other one gets them meanwhile.
class HeldSignals {
public:
    HeldSignals(std::initializer_list<int> signals) noexcept;
    ~HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    /// Takes back those that a system call has raised since: the program never sees them. One that
    /// was pending before stays.
    void Discard() const noexcept;

private:
    sigset_t held_;    ///< Without those that were pending.
    sigset_t former_;  ///< The thread's mask before.
};

}  // namespace zukel::platform
