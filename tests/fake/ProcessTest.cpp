#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "kelProcess.h"
#include "kelStatus.h"
#include "support/FakeProcesses.h"

using zukel::test::FakeProcesses;
using Calls = std::vector<std::string>;

namespace {

TEST(ProcessOverFake, NumbersThatMeanGroups_NeverReachThePlatform) {
    FakeProcesses platform;
    for (const int pid : {0, -1, -2, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(kelProcess::NativeKill(pid), kelStatusFailed) << pid;
        EXPECT_FALSE(kelProcess::IsRunning(pid)) << pid;
    }
    EXPECT_EQ(platform.calls, Calls{});
    for (const int pid : {1, std::numeric_limits<int>::max()}) {
        platform.calls.clear();
        EXPECT_EQ(kelProcess::NativeKill(pid), kelStatusOk);
        EXPECT_TRUE(kelProcess::IsRunning(pid));
        EXPECT_EQ(platform.calls, (Calls{"EndProcess " + std::to_string(pid),
                                         "IsProcessRunning " + std::to_string(pid)}));
    }
    platform.end = APR_EGENERAL;
    platform.running = false;
    EXPECT_EQ(kelProcess::NativeKill(1), kelStatusFailed);
    EXPECT_FALSE(kelProcess::IsRunning(1));
}

TEST(ProcessOverFake, AChild_IsForgottenOnceByItsLastOwner) {
    FakeProcesses platform;
    {
        kelProcess process;
        EXPECT_EQ(process.Start("program", false), kelStatusOk);
        kelProcess copy(process);
        platform.pid = 1001;
        EXPECT_EQ(copy.Start("program", false), kelStatusOk);
        EXPECT_EQ(process.GetPid(), 1001) << "shared";
        platform.launch = APR_EACCES;
        EXPECT_EQ(process.Start("program", false), kelStatusFailed);
        EXPECT_FALSE(copy.IsRunning());
        EXPECT_EQ(copy.Kill(), kelStatusFailed);
        platform.launch = APR_SUCCESS;
        platform.pid = 1002;
        platform.end = APR_EACCES;
        EXPECT_EQ(copy.Start("program", false), kelStatusOk);
        EXPECT_EQ(copy.Kill(), kelStatusFailed);
        EXPECT_NE(copy.GetLastError(), "");
        EXPECT_EQ(process.GetLastError(), copy.GetLastError()) << "EACCES, each by its own call";
        EXPECT_EQ(process.GetPid(), -1) << "dropped although it could not be ended";
        platform.pid = 1003;
        EXPECT_EQ(process.Start("program", false), kelStatusOk);
    }
    EXPECT_EQ(platform.calls,
              (Calls{"Launch 1000", "Forget 1000", "Launch 1001", "Forget 1001", "Launch 1001",
                     "Launch 1002", "End 1002", "Forget 1002", "Launch 1003", "Forget 1003"}));
}

}  // namespace
