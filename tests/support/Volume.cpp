#include "support/Volume.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <thread>

#include "support/TemporaryDirectory.h"

namespace zukel::test {

bool OnSmallVolume(const std::string& options,
                   const std::function<void(const std::string&)>& body) {
    bool mounted = false;
    const TemporaryDirectory place;
    // The mounts of a thread that has left the others' go with it.
    std::thread([&] {
        mounted = unshare(CLONE_NEWNS) == 0 &&
                  mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                  mount("tmpfs", place.Path().c_str(), "tmpfs", 0, options.c_str()) == 0;
        if (mounted) {
            body(place.Path());
        }
    }).join();
    return mounted;
}

void MakeReadOnly(const std::string& volume) {
    EXPECT_EQ(mount(nullptr, volume.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
}

void ShowTwice(const std::string& what, const std::string& there) {
    EXPECT_EQ(mount(what.c_str(), there.c_str(), nullptr, MS_BIND, nullptr), 0);
}

}  // namespace zukel::test
