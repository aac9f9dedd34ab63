#include "support/Testing.h"

using namespace zukel::test;
using kelDynamicObjectTest = InDirectory;

const std::string kFirst = ZUKEL_TEST_MODULES "/first.dll";

static long long Answer(kelDynamicObject& object, const char* name = "Answer") {
    long long (*answer)() = nullptr;
    return object.FindSymbol(&answer, name) == kOk ? answer() : -1;
}

TEST_F(kelDynamicObjectTest, States_FollowTheTable) {
    directory.Write("text.dll", "not a module");
    kelDynamicObject object;
    for (const std::string& name :
         {directory / "missing", directory / "text.dll", directory.Path(), std::string()}) {
        SCOPED_TRACE("\"" + name + "\"");
        EXPECT_EQ(object.UnloadLibrary(), kOk) << "no module";
        EXPECT_EQ(Answer(object, "getpid"), -1) << "no module";
        EXPECT_EQ(object.LoadLibrary(kFirst), kOk);
        EXPECT_EQ(object.GetLibraryName(), kFirst);
        EXPECT_EQ(Answer(object), 1);
        EXPECT_EQ(Answer(object, "no such symbol"), -1);
        EXPECT_EQ(object.LoadLibrary(name), kFailed);
        EXPECT_EQ(object.kelLoadLibraryEx("", "name"), kFailed) << "no load at all";
        EXPECT_EQ(object.kelLoadLibraryEx("directory", ""), kFailed);
        EXPECT_NE(object.GetError(), "");
        EXPECT_THAT(object.GetError(), testing::HasSubstr(name));
        EXPECT_EQ(object.GetLibraryName(), "");
        EXPECT_EQ(Answer(object), -1) << "of the earlier";
    }
    const std::string suffix = kelLibrary::GetSharedLibSuffix();
    fs::copy_file(ZUKEL_TEST_MODULES "/second.dll", "libn" + suffix);
    EXPECT_EQ(object.kelLoadLibraryEx(directory.Path(), "n"), kOk);
    EXPECT_EQ(Answer(object), 2);
    EXPECT_EQ(Answer(object, "Relayed"), kOnWindows ? 2 : 1) << "Linux: of the module loaded first";
    long long (*answer)() = nullptr;
    EXPECT_EQ(object.FindSymbol(&answer, "getenv"), kOnWindows ? kFailed : kOk)
        << "of a library that it is linked with";
    EXPECT_EQ(object.FindSymbol(&answer, "Answer"), kOk);
    fs::copy_file(kFirst, "n" + suffix);
    EXPECT_EQ(object.kelLoadLibraryEx(directory.Path(), "n"), kOk);
    EXPECT_EQ(Answer(object), 1);
    EXPECT_EQ(answer(), 2) << "the one that was replaced stays in memory";
    EXPECT_EQ((kelDynamicObject() = object).UnloadLibrary(), kOk);
    EXPECT_EQ(Answer(object), -1) << "for both";
}
