#include <gtest/gtest.h>

#include "kelFile.h"
#include "kelStatus.h"
#include "support/FakePlatform.h"
#include "support/TemporaryDirectory.h"

using zukel::test::TemporaryDirectory;
using zukel::test::UseFakePlatform;

namespace {

TEST(OpenRoad, MultibyteCodePage_MakesNoConversion) {
    const TemporaryDirectory directory;
    UseFakePlatform platform;
    platform.multibyteCodePage = [] { return 932; };
    kelFile file;
    EXPECT_EQ(file.Open(directory.Write("file", "x"), kelFile::ModeRead), kelStatusOk);
    EXPECT_EQ(platform.calls, std::vector<std::string>{"MultibyteCodePage"});
}

}  // namespace
