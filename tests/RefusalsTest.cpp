// What operations of every class refuse: its status, its reason, and that nothing changes.

#include "support/Testing.h"

using namespace zukel::test;
using Refusals = InDirectory;
using Directory = kelDirectory;
using Library = kelLibrary;
using Mapped = kelMappedFile;
using Memory = kelSharedMemory;

constexpr int kNoPath = kelStatusEmptyPath, kNoSource = kelStatusEmptySource;
constexpr int kNoTarget = kelStatusEmptyTarget, kNone = kelStatusNotFound;
constexpr int kNoVariable = kelStatusNoVariable;
/// Reasons, by their names on Linux.
constexpr int kMissing = ENOENT, kClosed = EBADF, kWrong = EINVAL, kAny = 0;

/// The reason, by its name on Linux, that a number of Windows stands for; or the number.
static int ReasonOf(int number) {
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
static void Check(int status, int reason, const std::vector<Call>& calls) {
    for (const auto& [text, make] : calls) {
        SCOPED_TRACE(text);
        reason == kWrong ? kelFile::Delete("no") : kelProcess::NativeKill(-1);
        EXPECT_EQ(make(), status);
        const int number = Library::GetErrorNumber();
        const std::string told = Library::GetErrorText();
        EXPECT_EQ(reason == kAny ? kAny : kOnWindows ? ReasonOf(number) : number, reason);
        EXPECT_EQ(told, kOnWindows ? told : std::strerror(number));
        EXPECT_EQ(told.find_last_not_of(" \r\n") + 1, told.size()) << told;
        EXPECT_NE(told, "");
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
    Check(kNoSource, kWrong,
          {CALL(kelFile::Copy("", "x", 0x644)), CALL(kelFile::Copy(nullptr, "", "x", 0x1000)),
           CALL(kelFile::NativeCopy("", "x", 0)), CALL(kelFile::Rename("", "x")),
           CALL(kelFile::NativeRename("", "x")), CALL(kelFile::RenameNew("", "x"))});
    Check(kNoTarget, kWrong,
          {CALL(kelFile::Copy("x", "", 0x644)), CALL(kelFile::Copy(nullptr, "x", "", 0x1000)),
           CALL(kelFile::NativeCopy("x", "", 0)), CALL(kelFile::Rename("x", "")),
           CALL(kelFile::NativeRename("x", "")), CALL(kelFile::RenameNew("x", "")),
           CALL(kelFile::CreateSymbolicLink("", "file"))});
    Check(kNoPath, kWrong,
          {CALL(kelFile::Delete("")), CALL(kelFile::SetPermissions("", 0x600)),
           CALL(kelFile::Exists(nullptr, "")), CALL(kelFile::ReadWhole("", text)),
           CALL(kelFile::ReplaceWhole("", text)), CALL(kelFile::CreateSymbolicLink("file", "")),
           CALL(kelFile::ReadSymbolicLink("", text)), CALL(kelFile::GetRealPath("", text)),
           CALL(Directory::GetFileNames("", names)), CALL(Directory::CreateTemporary("", text)),
           CALL(Directory::DeleteTree("")), CALL(Directory::SetCurrentDirectory("")),
           CALL(Directory::Sync("")), CALL(mapped.Open("", Mapped::ReadOnly)),
           CALL(mapped.Open("", Mapped::ReadOnly, 0, 0))});
    // Up to the NUL a text is the name of something else, which must not suffer.
    const zuString nul("\0tail", 5), file = "file" + nul, folder = "folder" + nul;
    const zuString other = "other" + nul, variable = "ZUKEL_NUL" + nul, child = ZUKEL_TEST_CHILD;
    Check(kNone, kMissing,
          {CALL(kelFile().Open(file, kRead)), CALL(kelFile().Open(other, kWrite)),
           CALL(kelFile::Exists(nullptr, file)), CALL(kelFile::ReadWhole(file, text)),
           CALL(kelFile::ReplaceWhole(file, text)), CALL(kelFile::CreateSymbolicLink(file, "no")),
           CALL(kelFile::CreateSymbolicLink("file", other)),
           CALL(kelFile::ReadSymbolicLink(file, text)), CALL(kelFile::GetRealPath(file, text)),
           CALL(Directory::CreateTemporary("x" + nul + "XXXXXX", text)),
           CALL(Directory::DeleteTree(folder)), CALL(Directory::GetFileNames(folder, names)),
           CALL(mapped.Open(file, Mapped::ReadOnly)),
           CALL(mapped.Open(file, Mapped::ReadOnly, 0, 0))});
    Check(
        kFailed, kAny,
        {CALL(kelFile().CreateTemporaryFile("XXXXXX" + nul)),
         CALL(kelDynamicObject().LoadLibrary(module + nul)), CALL(Memory().Remove(segment + nul))});
    Check(
        kFailed, kMissing,
        {CALL(kelFile::Copy(file, "other", 0x644)), CALL(kelFile::Copy("file", other, 0x644)),
         CALL(kelFile::NativeCopy("file", other, 0)), CALL(kelFile::Rename(file, "other")),
         CALL(kelFile::NativeRename("file", other)), CALL(kelFile::SetPermissions(file, 0x400)),
         CALL(kelFile::Delete(file)), CALL(Directory().Open(folder)),
         CALL(Directory::Create(other, 0x755, false)), CALL(Directory::Create(other, 0x755, true)),
         CALL(Directory::Delete(folder)), CALL(Directory::SetCurrentDirectory(folder)),
         CALL(kelProcess().Start(child + nul, false)),
         CALL(kelProcess().Start(child, {}, folder, false)), CALL(Memory().Attach(segment + nul))});
    Check(kelFileInfo::NoFile, kMissing, {CALL(kelFileInfo(file).GetType())});
    Check(kNoVariable, kAny,
          {CALL(library.GetEnvironmentVariable(text, variable)),
           CALL(library.SetEnvironmentVariable(variable, "x")),
           CALL(library.SetEnvironmentVariable("ZUKEL_NUL", other))});
    Check(kFailed, kWrong,
          {CALL(kelProcess().Start(child, {file}, false)), CALL(Memory().Create(10, other))});
    EXPECT_TRUE(Directory::GetFileNames(folder).empty());
    EXPECT_EQ(Library::GetAbsoluteFileName("$" + variable), "$" + variable);
    Check(kFailed, kMissing,
          {CALL(kelFile::Delete("no")), CALL(kelFile::Copy("no", "file", 0)),
           CALL(Directory().Open("no")), CALL(Directory::Sync("no")),
           CALL(Directory::SetCurrentDirectory("no")), CALL(kelFile::SetPermissions("no", 0x600)),
           CALL(Memory().Attach(directory / "no"))});
    Check(
        kNone, kMissing,
        {CALL(kelFile::ReadWhole("no", text)), CALL(kelFile::ReplaceWhole("no/file", text)),
         CALL(kelFile::ReadSymbolicLink("no", text)), CALL(kelFile::GetRealPath("no", text)),
         CALL(kelFile().Open("", kRead)), CALL(kelFile().Open("no", kRead)),
         CALL(Directory::CreateTemporary("no/XXXXXX", text)), CALL(Directory::DeleteTree("no")),
         CALL(Directory::DeleteTree("no/no")), CALL(Directory::GetFileNames("no", names)),
         CALL(mapped.Open("no", Mapped::ReadOnly)), CALL(mapped.Open("no", Mapped::ReadOnly, 0, 0)),
         CALL(mapped.Open("no/file", Mapped::ReadOnly)),
         CALL(mapped.Open("no/file", Mapped::ReadOnly, 0, 0))});
    Check(-1, kMissing, {CALL(kelFileInfo("no").GetSize())});
    Check(0, kMissing, {CALL(int(Directory::GetFileNames("no").size()))});
    Check(kNoVariable, kMissing, {CALL(library.GetEnvironmentVariable(text, "ZUKEL_UNSET"))});
    Check(false, kMissing,
          {CALL(kelSystem::GetFreeDiskSpace("no", disk)), CALL(kelFile::Exists("no"))});
    const int directoryStatus = kOnWindows ? kelStatusAccessDenied : kFailed;
    Check(directoryStatus, kAny,
          {CALL(kelFile::ReadWhole(".", text)), CALL(mapped.Open(".", Mapped::ReadOnly)),
           CALL(mapped.Open(".", Mapped::ReadOnly, 0, 0))});
    Check(
        kFailed, kAny,
        {CALL(kelFile::ReplaceWhole(directory.Path(), text)),
         CALL(kOnWindows ? kFailed : kelFile::ReplaceWhole("/dev/null", text)),
         CALL(kelFile::ReadSymbolicLink("file", text)), CALL(kelFile::ReadSymbolicLink(".", text)),
         CALL(Directory::DeleteTree("file")), CALL(Directory::DeleteTree("folder/.")),
         CALL(Directory::DeleteTree("folder/..")), CALL(Directory::GetFileNames("file", names)),
         CALL(Directory::Sync("file")), CALL(mapped.Open(kNullDevice, Mapped::ReadOnly)),
         CALL(mapped.Open(kNullDevice, Mapped::ReadOnly, 0, 0))});
    Check(kFailed, EEXIST, {CALL(Directory::Create(".", 0x755, false))});
    Check(kFailed, kWrong,
          {CALL(Directory::CreateTemporary("folder/x", text)),
           CALL(Directory::CreateTemporary("XXXXX", text)),
           CALL(Directory::CreateTemporary("XXXXXXx", text)), CALL(kelProcess::NativeKill(-1)),
           CALL(kelTime(-1).GetFormatTime(text, "%Y"))});
    EXPECT_FALSE(mapped.IsOpen());
    EXPECT_EQ(memory.Destroy(), kOk) << "its name stands";
    EXPECT_EQ(text, "untouched");
    EXPECT_THAT(names, ElementsAre("untouched"));
    EXPECT_EQ(library.GetEnvironmentVariable(text, "ZUKEL_NUL"), kOk);
    EXPECT_EQ(text, "value");
    EXPECT_EQ(ReadWhole("file"), "text");
    EXPECT_EQ(directory.Count(), 2);
}

TEST_F(Refusals, OfAProgramThatIsNotThere_HasItsReason) {
    directory.Write("file");
    Check(kFailed, kMissing, {CALL(kelProcess().Start("no-such-program", false))});
}

TEST_F(Refusals, OfClosedAndUnfitObjects_HaveTheirReasonAndChangeNothing) {
    kelFile closed, reading(directory.Write("file", "text"), kRead), ended("file", kRead);
    kelFile device(kNullDevice, kReadWrite), readingAhead("file", kRead | kBuffered);
    long long place = -7, (*symbol)() = nullptr;
    unsigned long long size = 4, written = 1, put = 1;
    char line[8] = "1234567";
    zuString text;
    int code = 0;
    kelProcess none;
    Memory memory;
    memory.Detach();  // which ends it
    EXPECT_EQ(ended.SeekToEnd(), kOk);
    Check(kFailed, kClosed,
          {CALL(closed.Sync()), CALL(closed.GetPosition(place)), CALL(closed.GetLength(place)),
           CALL(closed.SetLength(0)), CALL(closed.Lock(kelFile::LockShared, 0)),
           CALL(closed.Unlock()), CALL(closed.ReadAt(0, line, size)), CALL(closed.SeekTo(0)),
           CALL(closed.SeekToBegin()), CALL(closed.SeekToEnd())});
    Check(kFailed, kClosed,
          {CALL(Mapped().Sync()), CALL(kelDynamicObject().FindSymbol(&symbol, "x")),
           CALL(closed.ReadLine(line, sizeof line)), CALL(closed.Read(line, size)),
           CALL(closed.Write(*line)), CALL(closed.Read(*line)), CALL(closed.Write(line, size)),
           CALL(closed.WriteLine("x")), CALL(closed.Flush()), CALL(closed.Close())});
    Check(kFailed, kClosed,
          {CALL(Mapped().Close()), CALL(none.CloseInput()), CALL(none.ReadOutput(line, size)),
           CALL(none.ReadErrors(line, size)), CALL(memory.Attach("")), CALL(memory.Create(8, "x")),
           CALL(memory.Detach()), CALL(memory.Destroy())});
    Check(kFailed, kAny,
          {CALL(device.GetLength(place)), CALL(reading.SetLength(0)),
           CALL(reading.WriteAt(0, "x", written)), CALL(reading.Write(line, put)),
           CALL(reading.WriteLine("x")), CALL(readingAhead.WriteLine("x")),
           CALL(readingAhead.Write('x')), CALL(reading.Lock(kelFile::LockExclusive, 0)),
           CALL(reading.Unlock()), CALL(none.WriteInput("x", 1))});
    Check(kelStatusNotOpen, kClosed,
          {CALL(Directory().Close()), CALL(Directory().ReadFirst(text)),
           CALL(Directory().ReadNext(text))});
    Check(0, kClosed,
          {CALL(Directory().GetNumberOfFiles()), CALL(int(Directory().GetFileNames().size()))});
    Check(kFailed, kWrong,
          {CALL(none.Kill()), CALL(none.Wait(0)), CALL(none.GetExitCode(code)),
           CALL(none.GetSignal(code))});
    Check(kFailed, ENOSYS,
          {CALL(kelMutex().Lock()), CALL(kelMutex().Trylock()), CALL(kelMutex().Unlock())});
    Check(kFailed, ENODATA, {CALL(ended.ReadLine(line, sizeof line))});
    EXPECT_EQ(place, -7);
    EXPECT_EQ(size, 4U) << "of closed objects";
    EXPECT_EQ(written, 0U) << "to a file opened for reading";
    EXPECT_EQ(put, 0U) << "to a file opened for reading";
    EXPECT_TRUE(closed.EndOfFile());
    EXPECT_EQ(ReadWhole("file"), "text");
    EXPECT_THAT(Statuses({reading.Sync(), Directory::Sync(directory.Path())}), Each(kOk));
}
