#pragma once

#include <sys/types.h>

#include <memory>

#include "platform/Children.h"
#include "platform/linux/Descriptor.h"

/// The children that this library has started, from their start until each has been reaped and
/// its handle is gone.
///
/// Linux keeps an ended child as a zombie until its parent has reaped it, and tells the parent
/// only by a signal that belongs to the application. So all children that have not been reaped
/// stand in one list, and each start and each handle given up looks at a bounded number of them in
/// turn. A lock guards the list and all that it holds: two threads may come upon the same child.
namespace zukel::platform {

struct Child {
    pid_t pid = -1;
    Descriptor process;     ///< Names the process while the handle is held and it has not ended.
    ino_t identity = 0;     ///< In the descriptor's place after that, where the system has it.
    ChildEnd end;           ///< Known once it has been reaped, or has ended while kept.
    bool kept = false;      ///< Started for a group: not reaped before it is forgotten.
    bool reaped = false;    ///< It has ended, and is in the list no more.
    int refs = 1;           ///< The handle, and the list.
    Child* next = nullptr;  ///< In the list.
};

/// Looks at some children and reaps those that have ended.
void ReapChildren() noexcept;

/// Takes charge of a child that has just been started under the number `pid`.
ChildHandle Adopt(std::unique_ptr<Child> child, pid_t pid) noexcept;

}  // namespace zukel::platform
