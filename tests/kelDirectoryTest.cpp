#include <set>

#include "support/Testing.h"

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
    Names names = kOnWindows ? Names{kOddName, "a b", ".hidden", "..x"}
                             : Names{kOddName, "a b", "new\nline", " ", "..x", "...", "\\", "C:"};
    for (int number = 0; number < 400; ++number) {  // more than one call of the system gives
        names.insert(std::string(150, 'x') + std::to_string(number));
    }
    for (const std::string& name : names) {
        one.Write(name);
    }
    kelDirectory fresh, ended(one.Path()), shared(fresh);
    EXPECT_EQ((shared = ended).Close(), kOk) << "closed for both";
    for (kelDirectory* object : {&fresh, &ended, &shared}) {
        std::string name = "as it was";
        EXPECT_TRUE(All(kelStatusNotOpen,
                        {object->Close(), object->ReadFirst(name), object->ReadNext(name)}));
        EXPECT_EQ(Listed(*object), Names());
        EXPECT_EQ(object->Open(one / "a b"), kFailed) << "a file is no directory";
        EXPECT_EQ(object->GetName(), object == &fresh ? "" : one.Path());
        EXPECT_EQ(object->Open(one.Path()), kOk);
        EXPECT_EQ(object->Open(one / "missing"), kOk) << "the open one stays";
        EXPECT_EQ(Listed(*object), names);
        EXPECT_TRUE(object->ReadNext(name) == kelStatusReadFailed && name == "as it was") << "end";
        Names all;
        for (int s = object->ReadFirst(name); s == kOk; s = object->ReadNext(name)) {
            all.insert(name);
        }
        EXPECT_EQ(all.size(), names.size() + 2) << ". and ..";
        EXPECT_EQ(object->Close(), kOk);
    }
    EXPECT_EQ(kelDirectory::GetFileNames(one.Path() + "///").size(), names.size());
}

TEST(kelDirectory, CreateAndDelete_Table) {
    for (const auto& [path, plain, recursive, deleted] : Table<4>(R"(
             new    ok ok ok    a/b/c    no ok ok    a//b/./~/ no ok ok    directory      no ok ok
             linked no ok no    dangling no no no    file      no no no    file/far/below no no no
             full   no ok no)")) {
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
            const auto before = directory.Count();
            const bool made = kelDirectory::Create(path, 0x755, parents) == kOk;
            EXPECT_EQ(made, (parents ? recursive : plain) == "ok") << path;
            EXPECT_TRUE(made ? fs::is_directory(path) : directory.Count() == before) << path;
            const bool goes = deleted == "ok" && fs::exists(path);
            EXPECT_EQ(kelDirectory::Delete(path), goes ? kOk : kFailed) << path;
            EXPECT_TRUE(fs::exists("full/below") && (!links || fs::is_symlink("linked")));
        }
    }
}

}  // namespace
