#include <unistd.h>

#include <cerrno>
#include <memory>
#include <utility>

#include "platform/Children.h"
#include "platform/linux/Child.h"
#include "platform/linux/ProcessDescriptor.h"
#include "platform/linux/Spawn.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

apr_status_t Launch(const Program& program, ChildHandle& child) {
    const Uncancelled uncancelled;
    auto made = std::make_unique<Child>();
    made->kept = program.group;
    ReapChildren();
    // Reserves a descriptor for the child's pidfd, so that exhaustion is found before anything is
    // started.
    Descriptor place = OpenProcessDescriptor(getpid());
    if (!place && IsShortage(errno)) {
        return errno;
    }
    pid_t pid = -1;
    const int error = Spawn(program, pid);
    if (error == 0) {
        place.Close();
        child = Adopt(std::move(made), pid);
    }
    return error;
}

}  // namespace zukel::platform
