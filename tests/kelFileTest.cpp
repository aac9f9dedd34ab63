#include "kelFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "kelLibrary.h"
#include "kelStatus.h"
#include "support/System.h"
#include "support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using zukel::test::ReadWhole;
using zukel::test::TemporaryDirectory;
using zukel::test::Unprivileged;
using zukel::test::WorkingDirectory;

namespace {

constexpr int kRead = kelFile::ModeRead;
constexpr int kWrite = kelFile::ModeWrite;
constexpr int kCreate = kelFile::ModeWrite | kelFile::ModeCreate;

TEST(kelFile, Open_AnswersByWhatStandsUnderTheName) {
    const TemporaryDirectory directory;
    directory.Write("file", "content");
    fs::create_directory(directory / "folder");
    struct Case {
        std::string name;
        int mode;
        int status;
        const char* why;
    };
    const std::vector<Case> cases = {
        {directory / "file", kRead, kelStatusOk, "an existing file"},
        {directory / "new", kCreate, kelStatusOk, "made on the way"},
        {directory / "\xFF\xFE bytes \x80", kCreate, kelStatusOk, "a name that is not UTF-8"},
        {directory / "\xC3\xA5\xE2\x82\xAC", kCreate, kelStatusOk, "a name that is not ASCII"},
        {directory / "missing", kRead, kelStatusNotFound, "no such file"},
        {directory / "missing/file", kCreate, kelStatusNotFound, "no such directory"},
        {"", kRead, kelStatusNotFound, "the empty name"},
        {directory / "file", 0, kelStatusAccessDenied, "neither reading nor writing"},
        {directory / "file", kelFile::ModeCreate, kelStatusAccessDenied, "the same"},
        {directory / "file/below", kRead, kelStatusFailed, "a file in the place of a directory"},
        {directory / "file", kCreate | kelFile::ModeExclusive, kelStatusFailed, "exists already"},
        {directory / "folder", kWrite, kelStatusFailed, "a directory cannot be written"},
        {directory / std::string(256, 'n'), kCreate, kelStatusFailed, "a name too long"},
        {directory / std::string(4096, 'n'), kRead, kelStatusFailed, "a path too long"},
    };
    for (const Case& c : cases) {
        kelFile file;
        EXPECT_EQ(file.Open(c.name, c.mode), c.status) << c.why;
        EXPECT_EQ(file.IsOpen(), c.status == kelStatusOk) << c.why;
        EXPECT_EQ(file.GetFileName(), c.status == kelStatusOk ? c.name : "") << c.why;
    }
    kelFile folder;
    char byte = 'x';
    EXPECT_EQ(folder.Open(directory / "folder", kRead), kelStatusOk) << "a directory opens";
    EXPECT_EQ(folder.Read(byte), kelStatusFailed) << "and cannot be read";
    EXPECT_EQ(byte, 'x');
}

TEST(kelFile, Open_WithoutTheRight_IsAccessDenied) {
    const TemporaryDirectory directory;
    const std::string name = directory.Write("file", "content");
    fs::permissions(name, fs::perms::owner_read | fs::perms::group_read);
    fs::permissions(directory.Path(), fs::perms::group_read | fs::perms::group_exec,
                    fs::perm_options::add);
    const Unprivileged user;
    kelFile file;
    EXPECT_EQ(file.Open(name, kWrite), kelStatusAccessDenied);
    EXPECT_EQ(file.Open(directory / "new", kCreate), kelStatusAccessDenied);
    EXPECT_EQ(file.CreateTemporaryFile(directory / "XXXXXX"), kelStatusAccessDenied);
    EXPECT_EQ(file.Open(name, kRead), kelStatusOk);
}

TEST(kelFile, StatesAndNames_FollowTheTable) {
    const TemporaryDirectory directory;
    const std::string first = directory.Write("first", "1");
    const std::string second = directory.Write("second", "2");
    kelFile file(first, kRead);
    EXPECT_EQ(file.Open(second, kRead), kelStatusOk) << "on an open object";
    EXPECT_EQ(file.GetFileName(), second);
    char content = 0;
    EXPECT_EQ(file.Read(content), kelStatusOk);
    EXPECT_EQ(content, '2');
    EXPECT_EQ(file.Close(), kelStatusOk);
    EXPECT_EQ(file.Close(), kelStatusFailed) << "closed already";
    EXPECT_EQ(file.GetFileName(), second) << "outlives the close";
    EXPECT_EQ(file.Open(directory / "missing", kRead), kelStatusNotFound);
    EXPECT_EQ(file.GetFileName(), "") << "cleared by the failed opening";
}

TEST(kelFile, CopiesAreClosedAndAssignmentsShare) {
    const TemporaryDirectory directory;
    const std::string name = directory.Write("file", "abcd");
    kelFile source(name, kRead);
    const kelFile copy(source);
    EXPECT_FALSE(copy.IsOpen());
    EXPECT_EQ(copy.GetFileName(), "");

    kelFile target(directory / "forgotten", kCreate | kelFile::ModeBuffered);
    EXPECT_EQ(target.WriteLine("written when the object goes"), kelStatusOk);
    EXPECT_EQ(target.Open(directory / "former", kCreate | kelFile::ModeBuffered), kelStatusOk);
    EXPECT_EQ(target.WriteLine("closed"), kelStatusOk);
    target = source;
    EXPECT_EQ(ReadWhole(directory / "former"), "closed");
    EXPECT_EQ(ReadWhole(directory / "forgotten"), "written when the object goes");
    char byte = 0;
    EXPECT_EQ(source.Read(byte), kelStatusOk);
    EXPECT_EQ(target.Read(byte), kelStatusOk);
    EXPECT_EQ(byte, 'b') << "one position";
    const kelFile& same = target;
    target = same;
    {
        kelFile other;
        other = source;
    }
    EXPECT_TRUE(source.IsOpen()) << "the last owner closes, not the first";
    EXPECT_EQ(target.Close(), kelStatusOk);
    EXPECT_FALSE(source.IsOpen());
}

TEST(kelFile, CreateTemporaryFile_MakesTheNameFromTheTemplate) {
    const TemporaryDirectory directory;
    const std::string slash = directory / "";
    const std::string full = slash + std::string(121 - slash.size(), 'n') + "XXXXXX";
    struct Case {
        std::string name;
        std::size_t kept;  ///< Leading bytes that stay; 0 for a template that is refused.
    };
    const std::vector<Case> cases = {{slash + "aXXXXXX", slash.size() + 1},
                                     {slash + "XXXXXXXXX", slash.size() + 3},
                                     {full, 121},
                                     {full + std::string(73, 'X'), 121},
                                     {slash + "aXXXXX", 0},
                                     {slash + "XXXXXXa", 0},
                                     {full.substr(0, 121) + "nXXXXXX", 0},
                                     {slash + "missing/XXXXXX", 0},
                                     {"", 0}};
    for (const Case& c : cases) {
        kelFile file(directory.Write("former", ""), kRead);
        EXPECT_EQ(file.CreateTemporaryFile(c.name), c.kept != 0 ? kelStatusOk : kelStatusFailed);
        const std::string name = file.GetFileName();
        EXPECT_EQ(file.IsOpen(), c.kept != 0) << c.name;
        EXPECT_EQ(name.size(), c.kept != 0 ? c.kept + 6 : 0) << c.name;
        EXPECT_EQ(name.substr(0, c.kept), c.name.substr(0, c.kept));
        EXPECT_EQ(fs::exists(name), c.kept != 0) << c.name;
        EXPECT_EQ(file.Write(1), c.kept != 0 ? kelStatusOk : kelStatusFailed) << c.name;
        file.Close();
        EXPECT_FALSE(fs::exists(name)) << c.name;
    }
}

TEST(kelFile, CreateTemporaryFile_Relative_IsRemovedWhereItWasMade) {
    const TemporaryDirectory directory;
    fs::create_directory(directory / "elsewhere");
    const WorkingDirectory entered(directory.Path());
    kelFile file;
    ASSERT_EQ(file.CreateTemporaryFile("tmpXXXXXX"), kelStatusOk);
    const std::string name = file.GetFileName();
    EXPECT_EQ(name.size(), 9U);
    EXPECT_TRUE(fs::exists(directory / name));
    directory.Write("elsewhere/" + name, "a stranger's file of the same name");
    fs::current_path(directory / "elsewhere");
    EXPECT_EQ(file.Close(), kelStatusOk);
    EXPECT_FALSE(fs::exists(directory / name));
    EXPECT_TRUE(fs::exists(directory / "elsewhere" / fs::path(name)));
}

TEST(kelFile, Descriptors_DoNotReachChildren) {
    const TemporaryDirectory directory;
    const std::string name = directory.Write("file", "");
    const auto before = zukel::test::InheritedDescriptors();
    const kelFile plain(name, kRead);
    const kelFile forgotten(name, kRead | kelFile::ModeNoCleanup);
    kelFile temporary;
    ASSERT_EQ(temporary.CreateTemporaryFile(directory / "XXXXXX"), kelStatusOk);
    ASSERT_TRUE(plain.IsOpen() && forgotten.IsOpen());
    EXPECT_EQ(zukel::test::InheritedDescriptors(), before);
}

TEST(kelLibrary, InitializeAndTerminate_ChangeNothing) {
    kelLibrary library;
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(library.Terminate(), kelStatusOk);
        EXPECT_EQ(library.Initialize(), kelStatusOk);
    }
    const TemporaryDirectory directory;
    EXPECT_EQ(kelFile(nullptr).Open(directory / "file", kCreate), kelStatusOk);
    EXPECT_EQ(library.Terminate(), kelStatusOk);
    kelLibrary copy(library);
    copy = library;
    EXPECT_EQ(kelFile(&copy).Open(directory / "file", kRead), kelStatusOk);
}

}  // namespace
