#include "kelDynamicObject.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include "kelLibrary.h"
#include "kelStatus.h"
#include "support/System.h"
#include "support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using zukel::test::TemporaryDirectory;
using zukel::test::WorkingDirectory;

namespace {

static_assert(!std::is_copy_constructible_v<kelDynamicObject>);
static_assert(std::is_copy_assignable_v<kelDynamicObject>);

/// A module that the build has made.
std::string Built(const std::string& name) {
    return ZUKEL_TEST_MODULES "/" + name;
}

/// Copies a built module, so that the system takes it for another one.
void Place(const std::string& built, const std::string& path) {
    fs::copy_file(Built(built), path);
}

std::string Suffix() {
    return kelLibrary::GetSharedLibSuffix();
}

long long Answer(kelDynamicObject& object) {
    long long (*answer)() = nullptr;
    return object.FindSymbol(&answer, "Answer") == kelStatusOk ? answer() : -1;
}

/// Has the module of the object count its unloading.
void CountUnloads(kelDynamicObject& object, int& unloads) {
    long long (*variable)() = nullptr;
    ASSERT_EQ(object.FindSymbol(&variable, "unloads"), kelStatusOk);
    *reinterpret_cast<int**>(variable) = &unloads;
}

TEST(kelDynamicObject, LoadLibrary_OfWhatIsNoModule_FailsWithTheReason) {
    const TemporaryDirectory directory;
    directory.Write("text.dll", "this is not a module");
    directory.Write("empty.dll", "");
    fs::create_directory(directory / "folder.dll");
    struct Case {
        std::string name;
        std::string text;  ///< What the reason has in it.
    };
    for (const Case& c : std::vector<Case>{
             {directory / "missing.dll", "missing.dll"},
             {directory / "text.dll", "text.dll"},
             {directory / "empty.dll", "empty.dll"},
             {directory / "folder.dll", "folder.dll"},
             {Built("needy.dll"), "absent"},
             {directory / std::string(5000, 'n'), "nnn"},
             {"", ""},
             {std::string("\0tail", 5), ""},
         }) {
        kelDynamicObject object;
        EXPECT_EQ(object.LoadLibrary(Built("first.dll")), kelStatusOk);
        EXPECT_EQ(object.LoadLibrary(c.name), kelStatusFailed) << c.name;
        EXPECT_EQ(object.GetLibraryName(), "") << c.name;
        EXPECT_NE(object.GetError(), "") << c.name;
        EXPECT_NE(object.GetError().find(c.text), std::string::npos) << object.GetError();
        EXPECT_LT(object.GetError().size(), 4096U);
        EXPECT_EQ(Answer(object), -1) << "the earlier module is the object's no more: " << c.name;
        EXPECT_EQ(object.UnloadLibrary(), kelStatusOk) << "nothing to do";
    }
}

TEST(kelDynamicObject, States_FollowTheTable) {
    kelDynamicObject object(nullptr);
    const auto found = [&](const char* name) {
        long long (*symbol)() = nullptr;
        const int status = object.FindSymbol(&symbol, name);
        EXPECT_EQ(symbol != nullptr, status == kelStatusOk) << "assigned only on success";
        return status;
    };
    EXPECT_EQ(object.GetError(), "");
    EXPECT_EQ(object.GetLibraryName(), "");
    EXPECT_EQ(object.UnloadLibrary(), kelStatusOk);
    EXPECT_EQ(found("malloc"), kelStatusFailed) << "never the whole process";

    EXPECT_EQ(object.LoadLibrary(Built("first.dll")), kelStatusOk);
    EXPECT_EQ(object.GetLibraryName(), Built("first.dll"));
    EXPECT_EQ(Answer(object), 1);
    EXPECT_EQ(found("no such symbol"), kelStatusFailed);
    EXPECT_EQ(found(""), kelStatusFailed);
    EXPECT_EQ(Answer(object), 1) << "a symbol that is missing does no harm";

    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(object.UnloadLibrary(), kelStatusOk);
        EXPECT_EQ(object.GetLibraryName(), Built("first.dll")) << "outlives the unload";
        EXPECT_EQ(found("Answer"), kelStatusFailed);
        EXPECT_EQ(found("malloc"), kelStatusFailed) << "never the whole process";
    }
    EXPECT_EQ(object.LoadLibrary("no such module"), kelStatusFailed);
    EXPECT_EQ(found("malloc"), kelStatusFailed) << "never the whole process";
    EXPECT_EQ(object.LoadLibrary(Built("second.dll")), kelStatusOk) << "usable again";
    EXPECT_EQ(Answer(object), 2);
}

TEST(kelDynamicObject, GetError_KeepsTheTextOfTheLoad) {
    kelDynamicObject object;
    EXPECT_EQ(object.LoadLibrary("the first missing module"), kelStatusFailed);
    const std::string text = object.GetError();
    EXPECT_NE(text.find("the first missing module"), std::string::npos) << text;
    kelDynamicObject other;
    EXPECT_EQ(other.LoadLibrary("the second missing module"), kelStatusFailed);
    EXPECT_EQ(other.LoadLibrary(Built("first.dll")), kelStatusOk);
    const std::string success = other.GetError();
    EXPECT_EQ(success.find("missing"), std::string::npos) << "of the last load: " << success;
    long long (*symbol)() = nullptr;
    EXPECT_EQ(other.FindSymbol(&symbol, "no such symbol"), kelStatusFailed);
    EXPECT_EQ(object.FindSymbol(&symbol, "no such symbol"), kelStatusFailed);
    EXPECT_EQ(object.UnloadLibrary(), kelStatusOk);
    EXPECT_EQ(object.kelLoadLibraryEx("", "name"), kelStatusFailed) << "no load at all";
    EXPECT_EQ(object.GetError(), text);
    EXPECT_EQ(other.GetError(), success);
}

TEST(kelDynamicObject, KelLoadLibraryEx_TakesTheFirstOfTwoNames) {
    struct Case {
        bool plain;
        bool prefixed;
        long long answer;  ///< Of the one that is taken: 1 plain, 2 with "lib", -1 none.
        const char* name;
    };
    for (const Case& c : std::vector<Case>{{true, true, 1, "/n"},
                                           {true, false, 1, "/n"},
                                           {false, true, 2, "/libn"},
                                           {false, false, -1, nullptr}}) {
        const TemporaryDirectory directory;
        if (c.plain) {
            Place("first.dll", directory / "n" + Suffix());
        }
        if (c.prefixed) {
            Place("second.dll", directory / "libn" + Suffix());
        }
        kelDynamicObject object;
        EXPECT_EQ(object.kelLoadLibraryEx(directory.Path(), "n"),
                  c.name != nullptr ? kelStatusOk : kelStatusFailed);
        EXPECT_EQ(Answer(object), c.answer);
        const std::string loaded =
            c.name != nullptr ? directory.Path() + c.name + Suffix() : std::string();
        EXPECT_EQ(object.GetLibraryName(), loaded);
        if (c.name == nullptr) {
            EXPECT_NE(object.GetError().find("libn"), std::string::npos) << "tells of the second";
        }
        const std::string error = object.GetError();
        EXPECT_EQ(object.kelLoadLibraryEx("", "n"), kelStatusFailed);
        EXPECT_EQ(object.kelLoadLibraryEx(directory.Path(), ""), kelStatusFailed);
        EXPECT_EQ(object.GetLibraryName(), loaded) << "an empty argument changes nothing";
        EXPECT_EQ(object.GetError(), error);
        EXPECT_EQ(Answer(object), c.answer);
    }
    const TemporaryDirectory directory;
    fs::create_directory(directory / "below");
    directory.Write("below/n" + Suffix(), "not a module");
    Place("second.dll", directory / "below/libn" + Suffix());
    const WorkingDirectory here(directory.Path());
    kelDynamicObject object;
    EXPECT_EQ(object.kelLoadLibraryEx("below", "n"), kelStatusOk) << "relative, the first is bad";
    EXPECT_EQ(Answer(object), 2);
}

TEST(kelDynamicObject, Modules_StayUntilTheLastOwnerGoes) {
    const TemporaryDirectory directory;
    Place("first.dll", directory / "first.dll");
    Place("second.dll", directory / "second.dll");
    int first = 0;
    int second = 0;
    {
        kelDynamicObject object;
        EXPECT_EQ(object.LoadLibrary(directory / "first.dll"), kelStatusOk);
        CountUnloads(object, first);
        long long (*answer)() = nullptr;
        EXPECT_EQ(object.FindSymbol(&answer, "Answer"), kelStatusOk);
        EXPECT_EQ(object.LoadLibrary(directory / "second.dll"), kelStatusOk);
        CountUnloads(object, second);
        EXPECT_EQ(answer(), 1) << "the earlier module stays in memory";
        {
            kelDynamicObject other;
            other = object;
            const kelDynamicObject& same = other;
            other = same;
            EXPECT_EQ(Answer(other), 2);
            EXPECT_EQ(other.UnloadLibrary(), kelStatusOk);
            EXPECT_EQ(second, 1) << "at once, and for both";
            EXPECT_EQ(Answer(object), -1);
        }
        EXPECT_EQ(first, 0) << "only the last load is unloaded, and one owner is left";
        EXPECT_EQ(answer(), 1);
    }
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

}  // namespace
