#include "kelDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "kelStatus.h"
#include "support/System.h"
#include "support/Table.h"
#include "support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using namespace zukel::test;
using Names = std::multiset<std::string>;

namespace {

Names Listed(kelDirectory& directory) {
    const auto names = directory.GetFileNames();
    EXPECT_EQ(directory.GetNumberOfFiles(), static_cast<int>(names.size()));
    return {names.begin(), names.end()};
}

TEST(kelDirectory, StateTable_WalkedInFull) {
    const TemporaryDirectory one;
    one.Write("a", "");
    kelDirectory fresh;
    kelDirectory ended(one.Path());
    kelDirectory shared(fresh);
    shared = ended;
    EXPECT_EQ(shared.Close(), kelStatusOk) << "closed for both";
    for (kelDirectory* object : {&fresh, &ended, &shared}) {
        std::string name = "as it was";
        EXPECT_EQ(object->Close(), kelStatusNotOpen);
        EXPECT_EQ(object->ReadFirst(name), kelStatusNotOpen);
        EXPECT_EQ(object->ReadNext(name), kelStatusNotOpen);
        EXPECT_EQ(Listed(*object), Names());
        EXPECT_EQ(object->Open(one / "a"), kelStatusFailed) << "a file is no directory";
        EXPECT_EQ(object->GetName(), object == &fresh ? "" : one.Path());
        EXPECT_EQ(object->Open(one.Path()), kelStatusOk);
        EXPECT_EQ(object->Open(one / "missing"), kelStatusOk) << "the open one stays";
        EXPECT_EQ(Listed(*object), Names{"a"});
        EXPECT_EQ(object->ReadNext(name), kelStatusReadFailed) << "a listing goes to the end";
        EXPECT_EQ(name, "as it was");
        Names all;
        for (int s = object->ReadFirst(name); s == kelStatusOk; s = object->ReadNext(name)) {
            all.insert(name);
        }
        EXPECT_EQ(all, (Names{".", "..", "a"}));
        EXPECT_EQ(object->Close(), kelStatusOk);
    }
}

TEST(kelDirectory, Listings_HoldEveryNameOfAnyBytes) {
    const TemporaryDirectory directory;
    Names names = {kOddName, "a b", ".hidden", "..x"};
    if (!kOnWindows) {
        names.insert({"\xFF\xFE", "new\nline", " ", "...", "\\", "C:"});
    }
    for (int number = 0; number < 400; ++number) {  // more than one call of the system gives
        names.insert(std::string(150, 'x') + std::to_string(number));
    }
    for (const std::string& name : names) {
        directory.Write(name, "");
    }
    const std::set<int> inherited = InheritedDescriptors();
    kelDirectory cursor(directory.Path());
    EXPECT_EQ(InheritedDescriptors(), inherited);
    EXPECT_EQ(Listed(cursor), names);
    EXPECT_EQ(kelDirectory::GetFileNames(directory.Path() + "///").size(), names.size());
}

TEST(kelDirectory, CreateAndDelete_Table) {
    for (const auto& [path, plain, recursive, deleted] : Table<4>(R"(
             new            ok ok ok
             a/b/c          no ok ok
             a//b/./~/      no ok ok
             directory      no ok ok
             linked         no ok no
             dangling       no no no
             file           no no no
             file/far/below no no no
             full           no ok no)")) {
        for (const bool parents : {false, true}) {
            const TemporaryDirectory directory;
            const Guard here = WorkingDirectory(directory.Path());
            directory.Write("file", "content");
            fs::create_directories("full/below");
            fs::create_directory("directory");
            const bool links = MakeLink("directory", "linked") && MakeLink("nothing", "dangling");
            if (!links && (path == "linked" || path == "dangling")) {
                continue;
            }
            const std::size_t before = directory.Count();
            const bool made = kelDirectory::Create(path, 0x755, parents) == kelStatusOk;
            EXPECT_EQ(made, (parents ? recursive : plain) == "ok") << path;
            EXPECT_TRUE(made ? fs::is_directory(path) : directory.Count() == before) << path;
            const bool goes = deleted == "ok" && fs::exists(path);
            EXPECT_EQ(kelDirectory::Delete(path), goes ? kelStatusOk : kelStatusFailed) << path;
            EXPECT_TRUE(fs::exists("full/below") && (!links || fs::is_symlink("linked")));
        }
    }
}

TEST(kelDirectory, CurrentDirectory_ChangesForTheProcessOrStays) {
    const TemporaryDirectory directory;
    const std::string former = fs::current_path().string();
    const Guard back = WorkingDirectory(".");
    EXPECT_EQ(kelDirectory::SetCurrentDirectory(directory / "missing"), kelStatusFailed);
    EXPECT_EQ(kelDirectory::SetCurrentDirectory(""), kelStatusEmptyPath);
    EXPECT_EQ(kelDirectory::GetCurrentDirectory(), former);
    const std::string odd = kOddName;
    fs::create_directory(fs::u8path(directory / odd));
    EXPECT_EQ(kelDirectory::SetCurrentDirectory(directory / ("./" + odd + "/")), kelStatusOk);
    EXPECT_EQ(kelDirectory::GetCurrentDirectory(),
              fs::canonical(fs::u8path(directory / odd)).u8string());
    if (!kOnWindows) {  // which keeps the current directory from being removed
        fs::remove(directory / odd);
        EXPECT_EQ(kelDirectory::GetCurrentDirectory(), "") << "it has been removed";
    }
}

}  // namespace
