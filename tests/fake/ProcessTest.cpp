#include "platform/Processes.h"

#include <gtest/gtest.h>

#include <limits>

#include "kelProcess.h"
#include "kelStatus.h"

/// No process is started, asked or ended here; the seam counts what reaches it by number.
namespace zukel::platform {

int calls = 0;

apr_status_t Launch(const Program&, ChildHandle&) {
    return APR_EGENERAL;
}
void Forget(Child*) noexcept {}
int Identifier(const Child&) noexcept {
    return -1;
}
bool IsRunning(Child&) noexcept {
    return false;
}
apr_status_t End(Child&) noexcept {
    return APR_EGENERAL;
}
bool IsProcessRunning(int) noexcept {
    return ++calls > 0;
}
bool EndProcess(int) noexcept {
    return ++calls > 0;
}
int CurrentProcess() noexcept {
    return -1;
}

}  // namespace zukel::platform

TEST(ProcessOverFake, NumbersThatMeanGroups_NeverReachThePlatform) {
    for (const int pid : {0, -1, -2, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(kelProcess::NativeKill(pid), kelStatusFailed) << pid;
        EXPECT_FALSE(kelProcess::IsRunning(pid)) << pid;
    }
    EXPECT_EQ(zukel::platform::calls, 0);
    EXPECT_EQ(kelProcess::NativeKill(1), kelStatusOk);
    EXPECT_TRUE(kelProcess::IsRunning(1));
}
