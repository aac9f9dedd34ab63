#include "kelDynamicObject.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "kelLibrary.h"
#include "kelStatus.h"
#include "support/System.h"
#include "support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using zukel::test::TemporaryDirectory;

namespace {

const std::string kFirst = ZUKEL_TEST_MODULES "/first.dll";
const std::string kSecond = ZUKEL_TEST_MODULES "/second.dll";

long long Answer(kelDynamicObject& object, const char* name = "Answer") {
    long long (*answer)() = nullptr;
    return object.FindSymbol(&answer, name) == kelStatusOk ? answer() : -1;
}

TEST(kelDynamicObject, States_FollowTheTable) {
    const TemporaryDirectory directory;
    const std::string text = directory.Write("text.dll", "not a module");
    kelDynamicObject object;
    for (const std::string& name : {directory / "missing", text, directory.Path(), std::string()}) {
        EXPECT_EQ(object.UnloadLibrary(), kelStatusOk);
        EXPECT_EQ(Answer(object, "getpid"), -1) << "never the whole process";
        EXPECT_EQ(object.LoadLibrary(kFirst), kelStatusOk);
        EXPECT_EQ(object.GetLibraryName(), kFirst);
        EXPECT_EQ(Answer(object), 1);
        EXPECT_EQ(Answer(object, "no such symbol"), -1);
        EXPECT_EQ(object.LoadLibrary(name), kelStatusFailed) << name;
        EXPECT_EQ(object.kelLoadLibraryEx("", "name"), kelStatusFailed) << "no load at all";
        EXPECT_EQ(object.GetLibraryName(), "");
        // Windows gives the reason without the name.
        EXPECT_NE(object.GetError().find(zukel::test::kOnWindows ? "" : name), std::string::npos)
            << object.GetError();
        EXPECT_NE(object.GetError(), "");
        EXPECT_EQ(Answer(object), -1) << "the earlier module is the object's no more";
    }
}

TEST(kelDynamicObject, KelLoadLibraryEx_TakesTheFirstOfTwoNames) {
    const TemporaryDirectory directory;
    const std::string suffix = kelLibrary::GetSharedLibSuffix();
    kelDynamicObject object;
    EXPECT_EQ(object.kelLoadLibraryEx(directory.Path(), "n"), kelStatusFailed);
    fs::copy_file(kSecond, directory / "libn" + suffix);
    EXPECT_EQ(object.kelLoadLibraryEx(directory.Path(), "n"), kelStatusOk);
    EXPECT_EQ(Answer(object), 2);
    long long (*answer)() = nullptr;
    EXPECT_EQ(object.FindSymbol(&answer, "Answer"), kelStatusOk);
    fs::copy_file(kFirst, directory / "n" + suffix);
    EXPECT_EQ(object.kelLoadLibraryEx(directory.Path(), "n"), kelStatusOk);
    EXPECT_EQ(Answer(object), 1);
    EXPECT_EQ(answer(), 2) << "the earlier module stays in memory";
    kelDynamicObject other;
    other = object;
    EXPECT_EQ(other.UnloadLibrary(), kelStatusOk);
    EXPECT_EQ(Answer(object), -1) << "for both";
}

}  // namespace
