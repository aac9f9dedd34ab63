#pragma once

#include <sys/types.h>

#include <memory>

#include "platform/Children.h"
#include "platform/linux/Descriptor.h"

/// The children that this library has started, each until it has been reaped and its handle
/// released.
///
/// An ended child is a zombie until its parent reaps it, and the only notice is SIGCHLD, which
/// belongs to the application. So all unreaped children are in one list, and each start and each
/// release of a handle tests a bounded number of them in turn. A lock guards the list and its
/// children: two threads may find the same child.
namespace zukel::platform {

struct Child {
    pid_t pid = -1;
    Descriptor process;     ///< The pidfd, while the handle is held and the process has not ended.
    ino_t identity = 0;     ///< Replaces the pidfd after that, where the system has it.
    ChildEnd end;           ///< Set once it has been reaped, or has ended while kept.
    bool kept = false;      ///< Started for a group: not reaped before it is forgotten.
    bool reaped = false;    ///< It has ended, and is no longer in the list.
    int refs = 1;           ///< The handle, and the list.
    Child* next = nullptr;  ///< In the list.
};

/// Tests some children and reaps those that have ended.
void ReapChildren() noexcept;

/// Adds a newly started child with this pid.
ChildHandle Adopt(std::unique_ptr<Child> child, pid_t pid) noexcept;

}  // namespace zukel::platform
