#pragma once

#include <cstdint>

/// What the platform provides for threads. Plain functions, chosen at link time:
/// one folder below this one implements each of them.
namespace zukel::platform {

/// Waits for the lock that all copies of the library in this process share (plug-ins that each
/// contain the static library), and takes it. One thread at a time has it. It is not recursive.
///
/// @returns the lock, for `UnlockProcess`. If the system refuses it, copies of the library are not
/// synchronised with each other; the caller has a lock of its own as well.
std::intptr_t LockProcess() noexcept;

/// Releases what `LockProcess` returned.
void UnlockProcess(std::intptr_t lock) noexcept;

}  // namespace zukel::platform
