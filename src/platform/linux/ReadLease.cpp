#include "platform/linux/ReadLease.h"

#include <fcntl.h>
#include <unistd.h>

#include "platform/linux/HeldSignals.h"

namespace zukel::platform {

ReadLease::~ReadLease() {
    if (file_ != kNone) {
        fcntl(file_, F_SETLEASE, F_UNLCK);
    }
}

bool ReadLease::Take(int file) noexcept {
    // The system announces the break of a lease by SIGIO, which ends a program without a handler. A
    // file without an owner sends none, but taking a lease sets an owner: until that is reset it is
    // this thread, where the signal is blocked.
    const HeldSignals held{SIGIO};
    const f_owner_ex thread{F_OWNER_TID, gettid()};
    if (fcntl(file, F_SETOWN_EX, &thread) != 0 || fcntl(file, F_SETLEASE, F_RDLCK) != 0) {
        return false;
    }
    file_ = file;
    fcntl(file, F_SETOWN, 0);
    if (!IsUnbroken()) {
        held.Discard();
    }
    return true;
}

bool ReadLease::IsUnbroken() const noexcept {
    return file_ == kNone || fcntl(file_, F_GETLEASE) == F_RDLCK;
}

}  // namespace zukel::platform
