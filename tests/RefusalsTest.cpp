// What operations of every class refuse: its status, its reason, and that nothing changes.

#include "support/Testing.h"

using namespace zukel::test;
using Refusals = InDirectory;
using Directory = kelDirectory;
using Library = kelLibrary;
using Mapped = kelMappedFile;
using Memory = kelSharedMemory;

namespace {

constexpr int kNoPath = kelStatusEmptyPath, kNoSource = kelStatusEmptySource;
constexpr int kNoTarget = kelStatusEmptyTarget, kNone = kelStatusNotFound;
constexpr int kNoVariable = kelStatusNoVariable;
/// Reasons of the rows, by their names on Linux.
constexpr int kMissing = ENOENT, kClosed = EBADF, kWrong = EINVAL, kAny = 0;

struct Row {
    const char* call;
    std::function<int()> make;
    int status = kFailed;
    int reason = kMissing;
};
#define CALL(...) #__VA_ARGS__, [&]() -> int { return __VA_ARGS__; }

/// The reason, by its name on Linux, that a number of Windows stands for; or the number.
int ReasonOf(int number) {
    const std::pair<int, int> reasons[] = {{2, kMissing}, {3, kMissing}, {203, kMissing},
                                           {6, kClosed},  {87, kWrong},  {183, EEXIST},
                                           {38, ENODATA}, {50, ENOSYS}};
    for (const auto& [windows, reason] : reasons) {
        if (number == windows) {
            return reason;
        }
    }
    return number;
}

/// Makes each call after a failure with another reason.
void Check(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.call);
        row.reason == kWrong ? kelFile::Delete("no") : kelProcess::NativeKill(-1);
        EXPECT_EQ(row.make(), row.status);
        const int number = Library::GetErrorNumber();
        const std::string text = Library::GetErrorText();
        EXPECT_EQ(row.reason == kAny ? kAny : kOnWindows ? ReasonOf(number) : number, row.reason);
        EXPECT_EQ(text, kOnWindows ? text : std::strerror(number));
        EXPECT_NE(text, "");
        EXPECT_TRUE(kelFile::Exists("file"));
        EXPECT_EQ(Library::GetErrorNumber(), number) << "a success changes nothing";
    }
}

TEST_F(Refusals, OfNames_HaveTheirStatusAndReasonAndChangeNothing) {
    directory.Write("file", "text"), fs::create_directory("folder");
    Library library;
    Memory memory;
    const zuString segment = directory.Path() + ".segment",
                   module = ZUKEL_TEST_MODULES "/first.dll";
    ASSERT_EQ(memory.Create(10, segment), kOk);
    ASSERT_EQ(library.SetEnvironmentVariable("ZUKEL_NUL", "value"), kOk);
    zuString text = "untouched";
    zuStlVector<zuString> names = {"untouched"};
    zuDiskInfo disk;
    Mapped mapped;
    Check({
        {CALL(kelFile::Copy("", "x", 0x644)), kNoSource, kWrong},
        {CALL(kelFile::Copy("x", "", 0x644)), kNoTarget, kWrong},
        {CALL(kelFile::NativeCopy("", "x", 0)), kNoSource, kWrong},
        {CALL(kelFile::NativeCopy("x", "", 0)), kNoTarget, kWrong},
        {CALL(kelFile::Rename("", "x")), kNoSource, kWrong},
        {CALL(kelFile::Rename("x", "")), kNoTarget, kWrong},
        {CALL(kelFile::NativeRename("", "x")), kNoSource, kWrong},
        {CALL(kelFile::NativeRename("x", "")), kNoTarget, kWrong},
        {CALL(kelFile::RenameNew("", "x")), kNoSource, kWrong},
        {CALL(kelFile::RenameNew("x", "")), kNoTarget, kWrong},
        {CALL(kelFile::Delete("")), kNoPath, kWrong},
        {CALL(kelFile::SetPermissions("", 0x600)), kNoPath, kWrong},
        {CALL(kelFile::Exists(nullptr, "")), kNoPath, kWrong},
        {CALL(kelFile::ReadWhole("", text)), kNoPath, kWrong},
        {CALL(kelFile::ReplaceWhole("", text)), kNoPath, kWrong},
        {CALL(kelFile::CreateSymbolicLink("", "file")), kNoTarget, kWrong},
        {CALL(kelFile::CreateSymbolicLink("file", "")), kNoPath, kWrong},
        {CALL(kelFile::ReadSymbolicLink("", text)), kNoPath, kWrong},
        {CALL(kelFile::GetRealPath("", text)), kNoPath, kWrong},
        {CALL(Directory::GetFileNames("", names)), kNoPath, kWrong},
        {CALL(Directory::CreateTemporary("", text)), kNoPath, kWrong},
        {CALL(Directory::DeleteTree("")), kNoPath, kWrong},
        {CALL(Directory::Sync("")), kNoPath, kWrong},
        {CALL(mapped.Open("", Mapped::ReadOnly)), kNoPath, kWrong},
    });
    // Up to the NUL a text is the name of something else, which must not suffer.
    const zuString nul("\0tail", 5), file = "file" + nul, folder = "folder" + nul;
    const zuString other = "other" + nul, variable = "ZUKEL_NUL" + nul, child = ZUKEL_TEST_CHILD;
    Check({
        {CALL(kelFile().Open(file, kRead)), kNone},
        {CALL(kelFile().Open(other, kWrite)), kNone},
        {CALL(kelFile().CreateTemporaryFile("XXXXXX" + nul)), kFailed, kAny},
        {CALL(kelFile::Exists(nullptr, file)), kNone},
        {CALL(kelFile::Copy(file, "other", 0x644))},
        {CALL(kelFile::Copy("file", other, 0x644))},
        {CALL(kelFile::NativeCopy("file", other, 0))},
        {CALL(kelFile::Rename(file, "other"))},
        {CALL(kelFile::NativeRename("file", other))},
        {CALL(kelFile::SetPermissions(file, 0x400))},
        {CALL(kelFile::Delete(file))},
        {CALL(kelFile::ReadWhole(file, text)), kNone},
        {CALL(kelFile::ReplaceWhole(file, text)), kNone},
        {CALL(kelFile::CreateSymbolicLink(file, "no")), kNone},
        {CALL(kelFile::CreateSymbolicLink("file", other)), kNone},
        {CALL(kelFile::ReadSymbolicLink(file, text)), kNone},
        {CALL(kelFile::GetRealPath(file, text)), kNone},
        {CALL(kelFileInfo(file).GetType()), kelFileInfo::NoFile},
        {CALL(Directory().Open(folder))},
        {CALL(Directory::Create(other, 0x755, false))},
        {CALL(Directory::CreateTemporary("x" + nul + "XXXXXX", text)), kNone},
        {CALL(Directory::Delete(folder))},
        {CALL(Directory::DeleteTree(folder)), kNone},
        {CALL(Directory::GetFileNames(folder, names)), kNone},
        {CALL(Directory::SetCurrentDirectory(folder))},
        {CALL(mapped.Open(file, Mapped::ReadOnly)), kNone},
        {CALL(library.GetEnvironmentVariable(text, variable)), kNoVariable, kAny},
        {CALL(library.SetEnvironmentVariable(variable, "x")), kNoVariable, kAny},
        {CALL(library.SetEnvironmentVariable("ZUKEL_NUL", other)), kNoVariable, kAny},
        {CALL(kelDynamicObject().LoadLibrary(module + nul)), kFailed, kAny},
        {CALL(kelProcess().Start(child + nul, false))},
        {CALL(kelProcess().Start(child, {file}, false)), kFailed, kWrong},
        {CALL(kelProcess().Start(child, {}, folder, false))},
        {CALL(Memory().Create(10, other)), kFailed, kWrong},
        {CALL(Memory().Attach(segment + nul))},
        {CALL(Memory().Remove(segment + nul)), kFailed, kAny},
    });
    EXPECT_TRUE(Directory::GetFileNames(folder).empty());
    EXPECT_EQ(Library::GetAbsoluteFileName("$" + variable), "$" + variable);
    Check({
        {CALL(kelFile::Delete("no"))},
        {CALL(kelProcess().Start("no-such-program", false))},
        {CALL(kelFile::Copy("no", "file", 0))},
        {CALL(kelFile::ReadWhole("no", text)), kNone},
        {CALL(kelFile::ReplaceWhole("no/file", text)), kNone},
        {CALL(kelFile::ReadSymbolicLink("no", text)), kNone},
        {CALL(kelFile::GetRealPath("no", text)), kNone},
        {CALL(kelFileInfo("no").GetSize()), -1},
        {CALL(Directory().Open("no"))},
        {CALL(Directory::CreateTemporary("no/XXXXXX", text)), kNone},
        {CALL(Directory::DeleteTree("no")), kNone},
        {CALL(Directory::GetFileNames("no", names)), kNone},
        {CALL(int(Directory::GetFileNames("no").size())), 0},
        {CALL(Directory::Sync("no"))},
        {CALL(mapped.Open("no", Mapped::ReadOnly)), kNone},
        {CALL(library.GetEnvironmentVariable(text, "ZUKEL_UNSET")), kNoVariable},
        {CALL(Memory().Attach(directory / "no"))},
        {CALL(kelSystem::GetFreeDiskSpace("no", disk)), false},
    });
    const int directoryStatus = kOnWindows ? kelStatusAccessDenied : kFailed;
    Check({
        {CALL(kelFile::ReadWhole(".", text)), directoryStatus, kAny},
        {CALL(kelFile::ReplaceWhole(directory.Path(), text)), kFailed, kAny},
        {CALL(kOnWindows ? kFailed : kelFile::ReplaceWhole("/dev/null", text)), kFailed, kAny},
        {CALL(kelFile::ReadSymbolicLink("file", text)), kFailed, kAny},
        {CALL(kelFile::ReadSymbolicLink(".", text)), kFailed, kAny},
        {CALL(Directory::Create(".", 0x755, false)), kFailed, EEXIST},
        {CALL(Directory::CreateTemporary("folder/x", text)), kFailed, kWrong},
        {CALL(Directory::CreateTemporary("XXXXX", text)), kFailed, kWrong},
        {CALL(Directory::CreateTemporary("XXXXXXx", text)), kFailed, kWrong},
        {CALL(Directory::DeleteTree("file")), kFailed, kAny},
        {CALL(Directory::DeleteTree("folder/.")), kFailed, kAny},
        {CALL(Directory::DeleteTree("folder/..")), kFailed, kAny},
        {CALL(Directory::GetFileNames("file", names)), kFailed, kAny},
        {CALL(Directory::Sync("file")), kFailed, kAny},
        {CALL(mapped.Open(".", Mapped::ReadOnly)), directoryStatus, kAny},
        {CALL(mapped.Open(kNullDevice, Mapped::ReadOnly)), kFailed, kAny},
        {CALL(kelProcess::NativeKill(-1)), kFailed, kWrong},
        {CALL(kelTime(-1).GetFormatTime(text, "%Y")), kFailed, kWrong},
    });
    EXPECT_FALSE(mapped.IsOpen());
    EXPECT_EQ(memory.Destroy(), kOk) << "its name stands";
    EXPECT_EQ(text, "untouched");
    EXPECT_THAT(names, ElementsAre("untouched"));
    EXPECT_EQ(library.GetEnvironmentVariable(text, "ZUKEL_NUL"), kOk);
    EXPECT_EQ(text, "value");
    EXPECT_EQ(ReadWhole("file"), "text");
    EXPECT_EQ(directory.Count(), 2);
}

TEST_F(Refusals, OfClosedAndUnfitObjects_HaveTheirReasonAndChangeNothing) {
    kelFile closed, reading(directory.Write("file", "text"), kRead), ended("file", kRead);
    kelFile device(kNullDevice, kReadWrite);
    long long place = -7, (*symbol)() = nullptr;
    unsigned long long size = 4, written = 1;
    char line[8] = "1234567";
    zuString text;
    int code = 0;
    kelProcess none;
    Memory memory;
    memory.Detach();  // which ends it
    EXPECT_EQ(ended.SeekToEnd(), kOk);
    Check({
        {CALL(closed.Sync()), kFailed, kClosed},
        {CALL(closed.GetPosition(place)), kFailed, kClosed},
        {CALL(closed.GetLength(place)), kFailed, kClosed},
        {CALL(closed.SetLength(0)), kFailed, kClosed},
        {CALL(closed.Lock(kelFile::LockShared, 0)), kFailed, kClosed},
        {CALL(closed.Unlock()), kFailed, kClosed},
        {CALL(closed.ReadAt(0, line, size)), kFailed, kClosed},
        {CALL(device.GetLength(place)), kFailed, kAny},
        {CALL(reading.SetLength(0)), kFailed, kAny},
        {CALL(reading.WriteAt(0, "x", written)), kFailed, kAny},
        {CALL(reading.WriteLine("x")), kFailed, kAny},
        {CALL(reading.Lock(kelFile::LockExclusive, 0)), kFailed, kAny},
        {CALL(reading.Unlock()), kFailed, kAny},
        {CALL(Directory().Close()), kelStatusNotOpen, kClosed},
        {CALL(Mapped().Sync()), kFailed, kClosed},
        {CALL(kelDynamicObject().FindSymbol(&symbol, "x")), kFailed, kClosed},
        {CALL(closed.ReadLine(line, sizeof line)), kFailed, kClosed},
        {CALL(closed.Read(line, size)), kFailed, kClosed},
        {CALL(closed.Write(*line)), kFailed, kClosed},
        {CALL(closed.Write(line, size)), kFailed, kClosed},
        {CALL(closed.WriteLine("x")), kFailed, kClosed},
        {CALL(closed.SeekTo(0)), kFailed, kClosed},
        {CALL(closed.Flush()), kFailed, kClosed},
        {CALL(closed.Close()), kFailed, kClosed},
        {CALL(Directory().ReadFirst(text)), kelStatusNotOpen, kClosed},
        {CALL(Directory().ReadNext(text)), kelStatusNotOpen, kClosed},
        {CALL(Directory().GetNumberOfFiles()), 0, kClosed},
        {CALL(int(Directory().GetFileNames().size())), 0, kClosed},
        {CALL(Mapped().Close()), kFailed, kClosed},
        {CALL(none.Kill()), kFailed, kWrong},
        {CALL(none.Wait(0)), kFailed, kWrong},
        {CALL(none.GetExitCode(code)), kFailed, kWrong},
        {CALL(none.GetSignal(code)), kFailed, kWrong},
        {CALL(none.WriteInput("x", 1)), kFailed, kAny},
        {CALL(none.CloseInput()), kFailed, kClosed},
        {CALL(none.ReadOutput(line, size)), kFailed, kClosed},
        {CALL(none.ReadErrors(line, size)), kFailed, kClosed},
        {CALL(kelMutex().Lock()), kFailed, ENOSYS},
        {CALL(kelMutex().Trylock()), kFailed, ENOSYS},
        {CALL(kelMutex().Unlock()), kFailed, ENOSYS},
        {CALL(memory.Attach("")), kFailed, kClosed},
        {CALL(memory.Create(8, "x")), kFailed, kClosed},
        {CALL(memory.Detach()), kFailed, kClosed},
        {CALL(memory.Destroy()), kFailed, kClosed},
        {CALL(ended.ReadLine(line, sizeof line)), kFailed, ENODATA},
    });
    EXPECT_EQ(place, -7);
    EXPECT_EQ(size, 4U) << "of closed objects";
    EXPECT_EQ(written, 0U) << "to a file opened for reading";
    EXPECT_TRUE(closed.EndOfFile());
    EXPECT_EQ(ReadWhole("file"), "text");
    EXPECT_THAT(Statuses({reading.Sync(), Directory::Sync(directory.Path())}), Each(kOk));
}

}  // namespace
