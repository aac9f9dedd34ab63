#include <gtest/gtest.h>

#include "kelFile.h"
#include "kelStatus.h"
#include "support/Faults.h"
#include "support/TemporaryDirectory.h"

using zukel::test::FaultSource;
using zukel::test::Outcome;
using zukel::test::TemporaryDirectory;
using zukel::test::UnderFaults;
using zukel::test::WalkFaults;

namespace {

constexpr int kReadWrite = kelFile::ModeRead | kelFile::ModeWrite | kelFile::ModeCreate;

Outcome OutcomeOf(int status) {
    EXPECT_TRUE(status == kelStatusOk || status == kelStatusFailed) << status;
    return status == kelStatusOk ? Outcome::Succeeded : Outcome::Failed;
}

TEST(FileFaults, Open_AnyCallFails_LeavesAClosedObjectWithoutName) {
    const TemporaryDirectory directory;
    for (const int mode : {kReadWrite, kReadWrite | int{kelFile::ModeNoCleanup}}) {
        for (const FaultSource source :
             {FaultSource::Runtime, FaultSource::Memory, FaultSource::System}) {
            if (source == FaultSource::System && (mode & kelFile::ModeNoCleanup) == 0) {
                continue;  // such an opening makes no call of the platform folder
            }
            WalkFaults("Open", source, [&] {
                const std::string name = directory / "a file with a name that is not short";
                kelFile file;
                const int status = UnderFaults([&] { return file.Open(name, mode); });
                EXPECT_EQ(file.IsOpen(), status == kelStatusOk);
                EXPECT_EQ(file.GetFileName(), status == kelStatusOk ? name : "");
                return OutcomeOf(status);
            });
        }
    }
}

}  // namespace
