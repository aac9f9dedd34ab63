// Names, open files and segments as only Windows has them.

#include <windows.h>

#include "support/Testing.h"

using namespace zukel::test;
using WindowsNames = InDirectory;
using WindowsFiles = InDirectory;
using WindowsSegments = InDirectory;

TEST_F(WindowsNames, BeyondThePlainForm_AreWorkedOutFirst) {
    const std::string a(150, 'a'), b(150, 'b'), deep = directory / a + "/" + b;
    ASSERT_EQ(kelDirectory::Create(deep, 0x755, true), kOk);
    std::string backslashes = deep;
    std::replace(backslashes.begin(), backslashes.end(), '/', '\\');
    int round = 0;
    for (const std::string& way :
         {deep, deep + "/.", deep + "//", deep + "/../" + b, directory / "/./" + a + "//x/../" + b,
          backslashes, backslashes + "\\..\\" + b, "\\\\?\\" + backslashes}) {
        SCOPED_TRACE(way);
        const std::string end = way[0] == '\\' ? "\\" : "/", mark = std::to_string(++round);
        const std::string from = way + end + "from" + mark, to = way + end + "to" + mark;
        const std::vector<Call> calls = {CALL(kelFile().Open(from, kWrite)),
                                         CALL(kelFile(from, kWrite).WriteLine("x")),
                                         CALL(kelFile::Exists(nullptr, from)),
                                         CALL(kelFileInfo(from).GetSize() - 1),
                                         CALL(kelFile::Copy(from, to, 0xFFF)),
                                         CALL(kelFile::NativeCopy(from, to, 0)),
                                         CALL(kelFile::SetPermissions(to, 0x600)),
                                         CALL(kelFile::Rename(to, from)),
                                         CALL(kelFile::NativeRename(from, to)),
                                         CALL(kelDirectory(way).GetNumberOfFiles() - 1),
                                         CALL(kelFile::Delete(to)),
                                         CALL(kelDirectory::Create(to, 0x755, false)),
                                         CALL(kelDirectory::Delete(to))};
        for (const auto& [text, call] : calls) {
            EXPECT_EQ(call(), kOk) << text;
        }
        EXPECT_EQ(kelFile::Copy(from, from, 0xFFF), kFailed);
    }
    kelDirectory::Delete(deep);
    kelDirectory::Delete(directory / a);
}

TEST_F(WindowsNames, OfDevicesAndTooLongOnes_NameNoFile) {
    const std::string from = directory.Write("from", "content"), bad(300, 'x');
    for (const std::string name :
         {"nul.txt", "con", "CON.log", "aux ", "com1", "LPT9.x", "NUL .tar.gz", "nul:", "conin$"}) {
        for (const std::string& to : {directory / name, name}) {
            SCOPED_TRACE(to);
            if (to != "con" && to != "com1" && to != "conin$") {  // which are the devices
                EXPECT_EQ(kelFile().Open(to, kWrite), kFailed);
            }
            EXPECT_EQ(kelFile::Copy(from, to, 0x600), kFailed);
            EXPECT_EQ(kelFile::NativeCopy(from, to, 0xFFF), kFailed);
            EXPECT_EQ(kelFile::Rename(from, to), kFailed);
            EXPECT_EQ(kelFile::NativeRename(from, to), kFailed);
            EXPECT_EQ(kelDirectory::Create(to, 0x755, false), kFailed);
            EXPECT_FALSE(kelFile::Exists(directory / name));
        }
    }
    EXPECT_EQ(kelFile::Copy(from, "NUL", 0x600), kFailed) << "the contents would be gone";
    EXPECT_EQ(kelFile().Open("NUL", kelFile::ModeWrite), kOk) << "the device itself";
    EXPECT_EQ(kelFile().Open(directory / "console.txt", kWrite), kOk);
    EXPECT_EQ(directory.Count(), 2);
    for (const std::string& name : {bad, directory / bad, directory / bad + "/below",
                                    "C:/" + std::string(70000, 'x'), std::string(70000, '/')}) {
        EXPECT_EQ(kelFile().Open(name, kRead), kFailed) << name.size();
    }
}

TEST_F(WindowsFiles, PermissionsAreThoseOfTheAccessList) {
    const std::string name = directory.Write("file", "x");
    const int open = kelFileInfo(name).GetPermissions();
    EXPECT_EQ(open & 0x600, 0x600) << std::hex << open;
    EXPECT_EQ(kelFile::SetPermissions(name, 0x400), kOk);
    EXPECT_EQ(kelFileInfo(name).GetPermissions() & 0x222, 0) << "read-only";
    EXPECT_EQ(kelFile::SetPermissions(name, 0x600), kOk);
    kelSharedMemory memory;
    ASSERT_EQ(memory.Create(8, directory / "segment"), kOk);
    EXPECT_EQ(kelFileInfo(directory / "segment").GetPermissions() & 0x677, 0x600);
}

TEST_F(WindowsFiles, AreRemovedWithTheTreeThoughNobodyElseMayReadThem) {
    const std::string tree = directory / "tree";
    fs::create_directory(tree);
    const std::string file = directory.Write("tree/file");
    const HANDLE held = CreateFileA(file.c_str(), GENERIC_READ, FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    kelDirectory::DeleteTree(tree);  // fails under Wine, which removes it when it is closed
    CloseHandle(held);
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(WindowsFiles, DifferAsThePageOfDifferencesSays) {
    kelFile temporary;
    ASSERT_EQ(temporary.CreateTemporaryFile(directory / "tXXXXXXXX"), kOk);
    const std::string name = temporary.GetFileName();
    EXPECT_EQ(name.find('X', directory.Path().size()), std::string::npos) << name;
    EXPECT_FALSE(std::ifstream(name).is_open()) << "without FILE_SHARE_DELETE";
    EXPECT_EQ(kelFile().Open(name, kRead), kOk) << "with it";
    EXPECT_EQ(kelDirectory::Create("a", 0x700, false), kOk);
    EXPECT_EQ(kelDirectory::Delete("a/."), kOk);
}

static char* Text(kelSharedMemory& memory) {
    return static_cast<char*>(memory.GetBaseAddress());
}

TEST_F(WindowsSegments, AreToldApartByTheirFiles) {
    fs::create_directory(directory / "d");
    kelSharedMemory first, second, third, same;
    ASSERT_EQ(first.Create(8, directory / "d/seg"), kOk);
    ASSERT_EQ(second.Create(8, directory / "d_seg"), kOk);
    ASSERT_EQ(third.Create(8, directory / "seg"), kOk);
    *Text(first) = '1';
    *Text(second) = '2';
    *Text(third) = '3';
    for (const std::string name : {"d/seg", "./d//seg", "d\\seg", "D/../d/SEG"}) {
        SCOPED_TRACE(name);
        same = kelSharedMemory();
        ASSERT_EQ(same.Attach(directory / name), kOk);
        EXPECT_EQ(*Text(same), '1');
    }
    kelSharedMemory relative;
    ASSERT_EQ(relative.Create(8, "relative"), kOk);
    const Guard elsewhere = WorkingDirectory("..");
    EXPECT_EQ(relative.Destroy(), kOk);
    EXPECT_FALSE(kelFile::Exists(directory / "relative"));
}

TEST_F(WindowsSegments, HeadersThatClaimTooMuch_DoNotAttach) {
    constexpr std::uint64_t kSize = 4096, kMuch = std::uint64_t{1} << 40U;
    const struct {
        const char* why;
        std::uint64_t mapped, usable;
    } rows[] = {{"a tebibyte", kMuch, kMuch - 16},
                {"a tebibyte to use", kSize, kMuch},
                {"a byte more", kSize, kSize - 15},
                {"less than the file", kSize - 8, kSize - 24},
                {"not written yet", 0, kSize - 16}};
    for (const auto& row : rows) {
        const std::uint64_t header[] = {row.mapped, row.usable};
        std::string content(kSize, '\0');
        std::memcpy(content.data(), header, sizeof header);
        const std::string forged = directory.Write("forged", content);
        EXPECT_EQ(kelSharedMemory().Attach(forged), kFailed) << row.why;
        EXPECT_EQ(kelSharedMemory().Remove(forged), kFailed) << row.why;
    }
    EXPECT_EQ(kelSharedMemory().Attach(directory.Write("short", "x")), kFailed);
    EXPECT_EQ(kelSharedMemory().Attach(directory.Path()), kFailed);
}

/// Grows by four with each handle that is never closed. (Wine 8 does not count handles.)
static std::uintptr_t NextHandle() {
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    CloseHandle(event);
    return reinterpret_cast<std::uintptr_t>(event);
}

TEST_F(WindowsSegments, LeaveNoHandleBehind) {
    std::uintptr_t before = 0;
    for (int round = 0; round < 120; ++round) {
        if (round == 20) {
            before = NextHandle();
        }
        kelSharedMemory owner, attached;
        ASSERT_EQ(owner.Create(64, directory / "segment"), kOk);
        ASSERT_EQ(attached.Attach(directory / "segment"), kOk);
        EXPECT_EQ(kelSharedMemory().Create(64, directory / "segment"), kFailed);
    }
    EXPECT_LT(NextHandle(), before + 80);
    EXPECT_EQ(directory.Count(), 0);
}

TEST_F(WindowsSegments, OutliveACreatorThatWasKilled) {
    const std::string name = directory / "segment";
    kelProcess creator;
    ASSERT_EQ(creator.Start(ZUKEL_TEST_CHILD, {"hold", name}, false), kOk);
    kelSharedMemory attached;
    EXPECT_TRUE(Eventually([&] { return attached.Attach(name) == kOk; }));
    attached = kelSharedMemory();
    EXPECT_EQ(creator.Kill(), kOk);
    EXPECT_TRUE(Eventually([&] { return attached.Attach(name) == kOk; }));
    EXPECT_EQ(attached.GetSize(), 8U);
    EXPECT_EQ(kelSharedMemory().Remove(name), kOk);
    EXPECT_FALSE(kelFile::Exists(name));
    attached = kelSharedMemory();
    EXPECT_EQ(directory.Count(), 0);
}
