#include "support/Testing.h"

using namespace zukel::test;

namespace {

const std::string kFirst = ZUKEL_TEST_MODULES "/first.dll";

long long Answer(kelDynamicObject& object, const char* name = "Answer") {
    long long (*answer)() = nullptr;
    return object.FindSymbol(&answer, name) == kOk ? answer() : -1;
}

TEST(kelDynamicObject, States_FollowTheTable) {
    const TemporaryDirectory directory;
    const std::string text = directory.Write("text.dll", "not a module");
    kelDynamicObject object;
    for (const std::string& name : {directory / "missing", text, directory.Path(), std::string()}) {
        EXPECT_EQ(object.UnloadLibrary(), kOk);
        EXPECT_EQ(Answer(object, "getpid"), -1) << "never the whole process";
        EXPECT_EQ(object.LoadLibrary(kFirst), kOk);
        EXPECT_EQ(object.GetLibraryName(), kFirst);
        EXPECT_TRUE(Answer(object) == 1 && Answer(object, "no such symbol") == -1);
        EXPECT_EQ(object.LoadLibrary(name), kFailed) << name;
        EXPECT_EQ(object.kelLoadLibraryEx("", "name"), kFailed) << "no load at all";
        EXPECT_EQ(object.kelLoadLibraryEx("directory", ""), kFailed);
        const std::string reason = object.GetError();  // of Windows without the name
        EXPECT_TRUE(reason != "" && reason.find(kOnWindows ? "" : name) < reason.size()) << reason;
        EXPECT_EQ(object.GetLibraryName(), "");
        EXPECT_EQ(Answer(object), -1) << "the earlier module is the object's no more";
    }
}

TEST(kelDynamicObject, KelLoadLibraryEx_TakesTheFirstOfTwoNames) {
    const TemporaryDirectory directory;
    const std::string suffix = kelLibrary::GetSharedLibSuffix();
    kelDynamicObject object, other;
    fs::copy_file(ZUKEL_TEST_MODULES "/second.dll", directory / "libn" + suffix);
    EXPECT_EQ(object.kelLoadLibraryEx(directory.Path(), "n"), kOk);
    long long (*answer)() = nullptr;
    EXPECT_EQ(object.FindSymbol(&answer, "Answer"), kOk);
    fs::copy_file(kFirst, directory / "n" + suffix);
    EXPECT_EQ(object.kelLoadLibraryEx(directory.Path(), "n"), kOk);
    EXPECT_TRUE(Answer(object) == 1 && answer() == 2) << "the earlier module stays in memory";
    other = object;
    EXPECT_EQ(other.UnloadLibrary(), kOk);
    EXPECT_EQ(Answer(object), -1) << "for both";
}

}  // namespace
