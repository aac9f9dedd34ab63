#include <gtest/gtest.h>
#include <locale.h>
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <tuple>

// As <windows.h> has them: the first stands before the header, the second comes after it.
#define GetEnvironmentVariable GetEnvironmentVariableA
#include "kelLibrary.h"
#define SetEnvironmentVariable SetEnvironmentVariableW
#include "kelStatus.h"
#include "support/Table.h"
#include "support/TemporaryDirectory.h"

using zukel::test::Table;
using zukel::test::TemporaryDirectory;

namespace {

/// Sets a variable for the length of a test.
class Variable {
public:
    Variable(const char* name, const zuString& value)
        : name_(name), former_(std::getenv(name) != nullptr ? std::getenv(name) : "") {
        setenv(name_, value.c_str(), 1);
    }
    ~Variable() { former_.empty() ? unsetenv(name_) : setenv(name_, former_.c_str(), 1); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* name_;
    const zuString former_;
};

TEST(kelLibrary, EnvironmentVariables_AreSeenByTheLibraryAndByGetenv) {
    kelLibrary library;
    zuString value = "untouched";
    EXPECT_EQ(library.Initialize() + library.Terminate() + library.Terminate(), 0);
    for (const char* const name : {"ZUKEL_TEST", "", "ZUKEL_TEST="}) {
        EXPECT_EQ(library.GetEnvironmentVariable(value, name), kelStatusNoVariable) << name;
        EXPECT_EQ(value, "untouched");
    }
    for (const zuString& set :
         {zuString("a=b"), zuString(), zuString("\xff/\xc3"), zuString(102400, 'x')}) {
        EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_TEST", set), kelStatusOk);
        EXPECT_EQ(library.GetEnvironmentVariable(value, "ZUKEL_TEST"), kelStatusOk);
        EXPECT_EQ(value, set);
        EXPECT_EQ(std::getenv("ZUKEL_TEST"), set);
        EXPECT_EQ(kelLibrary::GetAbsoluteFileName("a\\$ZUKEL_TEST/b"), "a/" + set + "/b");
    }
    for (const char* const name : {"", "A=B"}) {
        EXPECT_EQ(library.SetEnvironmentVariable(name, "x"), kelStatusNoVariable) << name;
    }
    unsetenv("ZUKEL_TEST");
}

TEST(kelLibrary, UserAndHost_AreThoseOfTheSystem) {
    const Variable noHome("HOME", "/nowhere");
    const passwd* const user = getpwuid(getuid());
    utsname host{};
    uname(&host);
    kelLibrary library;
    zuString name, directory, hostName;
    ASSERT_NE(user, nullptr);
    EXPECT_EQ(library.GetCurrentUserName(name), kelStatusOk);
    EXPECT_EQ(name, user->pw_name);
    EXPECT_EQ(library.GetUserDirectory(directory), kelStatusOk);
    EXPECT_EQ(directory, user->pw_dir);
    EXPECT_EQ(library.GetHostName(hostName), kelStatusOk);
    EXPECT_EQ(hostName, host.nodename);
    EXPECT_EQ(kelLibrary::GetAbsoluteFileName("~/x"), directory + "/x");
    EXPECT_EQ(kelLibrary::GetAbsoluteFileName("~"), directory);
}

TEST(kelLibrary, GetTempDir_IsTheFirstThatCanBeWritten) {
    const TemporaryDirectory directory;
    const Variable first("TMPDIR", directory / "missing");
    const Variable second("TMP", directory.Path());
    EXPECT_EQ(kelLibrary().GetTempDir(), directory.Path());
    EXPECT_EQ(directory.Count(), 0U);
}

TEST(kelLibrary, PlatformTexts_AreThoseOfTheBuild) {
    const bool native = std::strcmp(ZUKEL_PLATFORM_TEXTS, "native") == 0;
    EXPECT_STREQ(kelLibrary::GetPlatform(), native ? "linux64" : "win64");
    EXPECT_STREQ(kelLibrary::GetPlatformBase(), native ? "linux" : "win");
    EXPECT_STREQ(kelLibrary::GetSharedLibPrefix(), native ? "lib" : "");
    EXPECT_STREQ(kelLibrary::GetSharedLibSuffix(), native ? ".so" : ".dll");
}

TEST(kelLibrary, GetAbsoluteFileName) {
    const Variable set("ZUKEL_V", "c\\d");
    const Variable empty("ZUKEL_EMPTY", "");
    const Variable twice("ZUKEL_TWICE", "$ZUKEL_V/$PLATFORM");
    const Variable lower("Platform", "other");
    const Variable longer("PLATFORMS", "all");
    const auto cases = Table<2>(R"(
        _                 _                  a\b/c         a/b/c         /a//b/      /a//b/
        ../x/./y          ../x/./y           ~bob/x        ~bob/x        x/~         x/~
        /~                /~                 $Platform/b   other/b       $PLATFORMS  all
        a/$ZUKEL_V\b      a/c\d/b            $ZUKEL_TWICE  $ZUKEL_V/$PLATFORM
        a$ZUKEL_V/b       a$ZUKEL_V/b        $ZUKEL_EMPTY/b  /b          $           $
        $ZUKEL_UNSET/b    $ZUKEL_UNSET/b     ${ZUKEL_V}    ${ZUKEL_V})");
    for (const auto& [name, expanded] : cases) {
        EXPECT_EQ(kelLibrary::GetAbsoluteFileName(name), expanded) << name;
    }
    EXPECT_EQ(kelLibrary::GetAbsoluteFileName("\xff\\$PLATFORM"),
              zuString("\xff/") + kelLibrary::GetPlatform());
}

TEST(kelLibrary, GetAbsoluteLibraryName) {
    const Variable set("ZUKEL_V", "value");
    const zuString platform = kelLibrary::GetPlatform();
    const zuString prefix = kelLibrary::GetSharedLibPrefix();
    const zuString suffix = kelLibrary::GetSharedLibSuffix();
    const std::pair<zuString, zuString> cases[] = {
        {"lib", prefix + "lib" + suffix},
        {"lib" + suffix, prefix + "lib" + suffix + suffix},
        {"$PLATFORM\\lib", platform + "/" + prefix + "lib" + suffix},
        {"", prefix + suffix},
        {"dir/", "dir/" + prefix + suffix},
        {"a/$ZUKEL_V", "a/" + prefix + "$ZUKEL_V" + suffix},  // not the variable that is set
    };
    for (const auto& [name, file] : cases) {
        EXPECT_EQ(kelLibrary::GetAbsoluteLibraryName(name), file) << name;
    }
}

TEST(kelLibrary, GetLocale_IsTheThreadsElseTheUsers) {
    const TemporaryDirectory directory;
    // Its result says no more than that categories are left out.
    std::ignore = std::system(("localedef --no-archive -c -i POSIX -f ISO-8859-15 " +
                               (directory / "fr_BE@euro") + " >/dev/null 2>&1")
                                  .c_str());
    if (!std::filesystem::exists(directory / "fr_BE@euro/LC_CTYPE")) {
        GTEST_SKIP() << "no locale can be made: is the package locales installed?";
    }
    const Variable path("LOCPATH", directory.Path());
    const kelLibrary library;
    const auto locale = [&] {
        const char* const text = library.GetLocale();
        return std::string(text != nullptr ? text : "none");
    };
    for (const char* const name : {"C", "C.UTF-8", "sv_XX.UTF-8"}) {  // the last is not installed
        const Variable user("LC_ALL", name);
        EXPECT_EQ(locale(), "none") << name;
    }
    const Variable user("LC_ALL", "fr_BE@euro");
    EXPECT_EQ(locale(), "fr_BE.28605") << "the user's, while the program has chosen none";
    setlocale(LC_ALL, "C.UTF-8");
    EXPECT_EQ(locale(), "none") << "the program's own";
    const locale_t threads = newlocale(LC_ALL_MASK, "fr_BE@euro", nullptr);
    uselocale(threads);
    EXPECT_EQ(locale(), "fr_BE.28605") << "the thread's own";
    uselocale(LC_GLOBAL_LOCALE);
    freelocale(threads);
    setlocale(LC_ALL, "C");
}

}  // namespace
