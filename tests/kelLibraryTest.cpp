// As <windows.h> has them: the first stands before the header, the second comes after it.
#define GetEnvironmentVariable GetEnvironmentVariableA
#include "kelLibrary.h"
#define SetEnvironmentVariable SetEnvironmentVariableW
#include "support/Testing.h"

using namespace zukel::test;
using Library = kelLibrary;
using kelLibraryTest = InDirectory;

TEST_F(kelLibraryTest, Variables_AreSeenByTheLibraryAndByGetenvAndListed) {
    constexpr int kNone = kelStatusNoVariable;
    const char* const name = "ZUKEL_TEST";
    Library library;
    zuString value = "untouched";
    zuStlVector<zuString> names;
    const auto listed = [&] {
        EXPECT_EQ(library.GetEnvironmentNames(names), kOk);
        return std::count(names.begin(), names.end(), name);
    };
    EXPECT_EQ(library.GetEnvironmentVariable(value, name), kNone);
    EXPECT_EQ(value, "untouched");
    EXPECT_EQ(listed(), 0);
    const zuString longest(kOnWindows ? 30000 : 102400, 'x');
    for (const auto& set : {zuString(kOnWindows ? "x" : ""), zuString(kOddName), longest}) {
        EXPECT_EQ(library.SetEnvironmentVariable(name, set), kOk);
        EXPECT_EQ(library.GetEnvironmentVariable(value, name), kOk);
        EXPECT_EQ(value, set);
        EXPECT_EQ(std::getenv(name), set);
        EXPECT_EQ(listed(), 1);
    }
    if (kOnWindows) {
        EXPECT_EQ(library.SetEnvironmentVariable(name, longest + longest), kNone);
        EXPECT_EQ(std::getenv(name), longest) << "nothing has changed";
        EXPECT_EQ(library.SetEnvironmentVariable(name, ""), kOk);
        EXPECT_EQ(std::getenv(name), nullptr) << "an empty value removes";
    }
    for (const char* const round : {"set", "unset already"}) {
        EXPECT_EQ(library.UnsetEnvironmentVariable(name), kOk) << round;
        EXPECT_EQ(listed(), 0) << round;
        EXPECT_EQ(std::getenv(name), nullptr) << round;
    }
    EXPECT_EQ(library.SetEnvironmentVariable(name, "B=C"), kOk);
    const zuString equals = name + zuString("=B"), nul("A\0B", 3);
    for (const zuString& bad : {zuString(), zuString("A=B"), equals, nul}) {
        EXPECT_EQ(library.GetEnvironmentVariable(value, bad), kNone) << bad;
        EXPECT_EQ(library.SetEnvironmentVariable(bad, "x"), kNone) << bad;
        EXPECT_EQ(library.UnsetEnvironmentVariable(bad), kNone) << bad;
    }
    EXPECT_EQ(Library::GetAbsoluteFileName("$" + equals), "$" + equals);
    EXPECT_EQ(library.GetEnvironmentVariable(value, name), kOk);
    EXPECT_EQ(value, "B=C");
}

TEST_F(kelLibraryTest, GetAbsoluteFileName_ExpandsTheFirstComponent) {
    Library library;
    library.SetEnvironmentVariable("ZUKEL_V", "c\\d");
    library.SetEnvironmentVariable("ZUKEL_TWICE", "$ZUKEL_V/$PLATFORM");
    library.SetEnvironmentVariable("PLATFORMS", "all");
    for (const auto& [name, expanded] : Table<2>(R"(
             a/$ZUKEL_V\b  a/c\d/b  $ZUKEL_TWICE    $ZUKEL_V/$PLATFORM  $PLATFORMS   all
             ~bob/x        ~bob/x   $ZUKEL_UNSET/b  $ZUKEL_UNSET/b  a$ZUKEL_V/b  a$ZUKEL_V/b)")) {
        EXPECT_EQ(Library::GetAbsoluteFileName(name), expanded) << name;
    }
    const bool native = ZUKEL_PLATFORM_TEXTS == std::string("native");
    const zuString platform = Library::GetPlatform(), prefix = Library::GetSharedLibPrefix();
    EXPECT_EQ(platform, native ? "linux64" : "win64");
    EXPECT_STREQ(Library::GetPlatformBase(), native ? "linux" : "win");
    EXPECT_EQ(Library::GetAbsoluteLibraryName("$PLATFORM\\lib.dll"),
              platform + "/" + prefix + "lib.dll" + Library::GetSharedLibSuffix());
}

TEST_F(kelLibraryTest, Programs_AreFoundAsTheyAreStarted) {
    zuString path = "before";
    EXPECT_EQ(Library::FindProgram("no-such-program-anywhere", path), kelStatusNotFound);
    EXPECT_EQ(Library::FindProgram("", path), kelStatusNotFound);
    EXPECT_EQ(Library::FindProgram(directory.Write("text"), path),
              kOnWindows ? kOk : kelStatusNotFound);
    EXPECT_EQ(Library::FindProgram(kOnWindows ? "cmd" : "sh", path), kOk);
    EXPECT_TRUE(fs::path(path).is_absolute()) << path;
    EXPECT_TRUE(fs::exists(path)) << path;
    EXPECT_EQ(Library::GetProgramPath(path), kOk);
    EXPECT_THAT(path, testing::HasSubstr("zukel_tests"));
    EXPECT_EQ(Library::FindProgram(path, path), kOk);
}

TEST_F(kelLibraryTest, Threads_HaveReasonsOfTheirOwn) {
    kelFile::Delete("");
    std::thread([] {
        EXPECT_EQ(Library::GetErrorNumber(), 0);
        EXPECT_EQ(Library::GetErrorText(), "");
    }).join();
    EXPECT_NE(Library::GetErrorNumber(), 0);
}

TEST_F(kelLibraryTest, StatusTexts_AreOneForEach) {
    std::set<std::string> texts;
    for (int status = kelStatusFailed; status <= kelStatusTimedOut; ++status) {
        texts.insert(Library::GetStatusText(status));
    }
    EXPECT_EQ(texts.size(), 15U) << "eleven, three, and the one for the others";
    EXPECT_STREQ(Library::GetStatusText(kelStatusOk), "success");
    EXPECT_STREQ(Library::GetStatusText(-1), "unknown status");
}
