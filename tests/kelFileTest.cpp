#include "kelFile.h"

#include <gtest/gtest.h>

#include "kelStatus.h"
#include "support/TemporaryDirectory.h"

using zukel::test::TemporaryDirectory;

namespace {

TEST(kelFile, Open_MissingFile_IsNotFoundAndLeavesNameEmpty) {
    const TemporaryDirectory directory;
    kelFile file;
    EXPECT_EQ(file.Open(directory / "missing", kelFile::ModeRead), kelStatusNotFound);
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.GetFileName(), "");
}

}  // namespace
