#pragma once

#include <sys/types.h>

#include <memory>

#include "platform/Processes.h"
#include "platform/linux/Descriptor.h"

/// The children that this library has started, from their start until each has been collected and
/// its handle is gone.
///
/// Linux keeps an ended child as a zombie until its parent has collected it, and tells the parent
/// only by a signal that belongs to the application. So all children that have not been collected
/// stand in one list, and each start and each handle given up looks at a bounded number of them in
/// turn. A lock guards the list and all that it holds: two threads may come upon the same child.
namespace zukel::platform {

struct Child {
    pid_t pid = -1;
    Descriptor process;      ///< Names the process while the handle is held and it has not ended.
    ino_t identity = 0;      ///< In the descriptor's place after that, where the system has it.
    ChildEnd end;            ///< Known once it has been collected, or has ended while kept.
    bool kept = false;       ///< Started for a group: not collected before it is forgotten.
    bool collected = false;  ///< It has ended, and is in the list no more.
    int holders = 1;         ///< The handle, and the list.
    Child* next = nullptr;   ///< In the list.
};

/// Looks at some children and collects those that have ended.
void CollectChildren() noexcept;

/// Takes charge of a child that has just been started under the number `pid`.
ChildHandle Adopt(std::unique_ptr<Child> child, pid_t pid) noexcept;

}  // namespace zukel::platform
