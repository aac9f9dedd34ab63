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
        EXPECT_TRUE(object.UnloadLibrary() == kOk && Answer(object, "getpid") == -1) << "no module";
        EXPECT_TRUE(object.LoadLibrary(kFirst) == kOk && object.GetLibraryName() == kFirst);
        EXPECT_TRUE(Answer(object) == 1 && Answer(object, "no such symbol") == -1);
        EXPECT_EQ(object.LoadLibrary(name), kFailed) << name;
        EXPECT_EQ(object.kelLoadLibraryEx("", "name"), kFailed) << "no load at all";
        EXPECT_EQ(object.kelLoadLibraryEx("directory", ""), kFailed);
        const std::string reason = object.GetError();
        EXPECT_NE(reason, "");
        EXPECT_LT(reason.find(name), reason.size()) << reason;
        EXPECT_TRUE(object.GetLibraryName().empty() && Answer(object) == -1) << "of the earlier";
    }
    const std::string suffix = kelLibrary::GetSharedLibSuffix();
    fs::copy_file(ZUKEL_TEST_MODULES "/second.dll", directory / "libn" + suffix);
    EXPECT_TRUE(object.kelLoadLibraryEx(directory.Path(), "n") == kOk && Answer(object) == 2);
    long long (*answer)() = nullptr;
    EXPECT_EQ(object.FindSymbol(&answer, "Answer"), kOk);
    fs::copy_file(kFirst, directory / "n" + suffix);
    EXPECT_TRUE(object.kelLoadLibraryEx(directory.Path(), "n") == kOk && Answer(object) == 1);
    EXPECT_TRUE(answer() == 2 && (kelDynamicObject() = object).UnloadLibrary() == kOk);
    EXPECT_EQ(Answer(object), -1) << "for both; the one that was replaced stays in memory";
}

}  // namespace
