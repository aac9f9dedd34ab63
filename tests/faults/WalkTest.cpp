// Every operation that may fail, with every call below it failing in turn: of the runtime, of the
// system and of `operator new`.

#include <gtest/gtest.h>
#include <unistd.h>

#include <new>

#include "support/ChildRunner.h"
#include "support/FaultTable.h"

namespace fs = std::filesystem;
using namespace zukel::test;
using Directory = kelDirectory;
using Memory = kelSharedMemory;

namespace {

constexpr int kNewBuffered = kReadWrite | kelFile::ModeCreate | kelFile::ModeBuffered;

TEST(FaultWalk, Surroundings) {
    constexpr int kNoVariable = kelStatusNoVariable, kNoUser = kelStatusNoUser;
    using Library = kelLibrary;
    const std::string unset = "$ZUKEL_NAME_OF_A_VARIABLE_THAT_IS_NOT_SET/" + std::string(20, 'x');
    Walk({
        {"objects", kFailed,
         [](World& it) {
             Library copy(it.library);
             copy = it.library;
             return copy.Terminate() + copy.Initialize();
         }},
        {"get", kNoVariable,
         [](World& it) { return it.library.GetEnvironmentVariable(it.text, "PATH"); }},
        {"set", kNoVariable,
         [](World& it) { return it.library.SetEnvironmentVariable("ZUKEL_X", it.file); }},
        {"user", kNoUser, [](World& it) { return Library().GetCurrentUserName(it.text); }},
        {"home", kNoUser, [](World& it) { return it.library.GetUserDirectory(it.text); }},
        {"host", kFailed,
         [](World& it) {
             Library named;
             named.GetLocale();
             return named.GetHostName(it.text);
         }},
        {"temporary", kFailed, [](World&) { return Status(!Library().GetTempDir().empty()); }},
        {"expanded", kFailed,
         [](World&) { return Status(Library::GetAbsoluteFileName("~/x")[0] != '~'); }},
        {"variable", kFailed,
         [](World&) { return Status(Library::GetAbsoluteFileName("$PATH/x")[0] != '$'); }},
        {"unset", kFailed,
         [&](World&) { return Status(Library::GetAbsoluteFileName(unset) == unset); }},
        {"library", kFailed,
         [](World& it) { return Status(Library::GetAbsoluteLibraryName(it.file) != ""); }},
        {"info", kFailed, [](World& it) { return Status(kelFileInfo(it.file).GetSize() == 16); }},
        {"permissions", kFailed,
         [](World& it) { return Status(kelFileInfo(it.file).GetPermissions() != -1); }},
        {"time", kFailed, [](World& it) { return Status(kelTime(it.time).GetSeconds() == 0); }},
        {"local", kFailed,
         [](World& it) {
             return Status((it.time.MakeLocalTime(), it.time.GetMicroSeconds() >= 1000));
         }},
        {"text", kFailed, [](World& it) { return it.time.GetFormatTime(it.text, it.file); }},
        {"disk", kFailed,
         [](World& it) {
             zuDiskInfo disk;
             return Status(kelSystem::GetFreeDiskSpace(it.file.c_str(), disk));
         }},
        {"memory", kFailed, [](World&) { return Status(kelSystem::UsedVirtualMemory() != ~0ULL); }},
        {"counter", kFailed, [](World&) { return Status(kelAtomic().Increment() == 0); }},
    });
}

TEST(FaultWalk, Files) {
    const auto onBoth = [](std::vector<Row>& rows, const char* name, int (*call)(World&, kelFile&),
                           After after = After::AsBefore) {
        rows.push_back({name, kFailed, [call](World& it) { return call(it, it.open); }, after});
        rows.push_back({name, kFailed, [call](World& it) { return call(it, it.buffered); }, after});
    };
    std::vector<Row> rows = {
        {"open", kFailed, [](World& it) { return it.empty.Open(it.file, kReadWrite); }},
        {"create", kFailed, [](World& it) { return it.empty.Open(it.missing, kNewBuffered); }},
        {"open and keep", kFailed,
         [](World& it) { return it.empty.Open(it.file, kReadWrite | kelFile::ModeNoCleanup); }},
        {"new", kFailed, [](World& it) { return Status(kelFile(it.file, kReadWrite).IsOpen()); }},
        {"temporary", kFailed,
         [](World& it) { return kelFile().CreateTemporaryFile(it.missing + "XXXXXX"); }},
        {"relative", kFailed, [](World& it) { return it.empty.CreateTemporaryFile("XXXXXX"); },
         After::AsBefore, [](World& it) { fs::current_path(it.beyond.Path()); }},
        {"copied", kFailed,
         [](World& it) {
             kelFile copy(it.open);
             copy = it.buffered;
             return Status(copy.IsOpen());
         }},
        {"access", kFailed,
         [](World& it) { return Status(it.open.IsReadable() && it.open.IsWritable()); }},
        {"readable", kFailed,
         [](World& it) { return Status(kelFile(it.open).GetFileName().empty()); }},
        {"flush", kFailed, [](World& it) { return it.buffered.Flush(); }},
        {"exists", kelStatusNotFound, [](World& it) { return kelFile::Exists(nullptr, it.file); }},
        {"delete", kFailed, [](World& it) { return kelFile::Delete(it.program); }},
        {"permissions", kFailed, [](World& it) { return kelFile::SetPermissions(it.file, 0x600); }},
    };
    onBoth(rows, "value", [](World& it, kelFile& file) { return file.Read(it.value); });
    onBoth(rows, "block", [](World& it, kelFile& file) { return file.Read(it.line, it.size); });
    onBoth(rows, "line", [](World& it, kelFile& file) { return file.ReadLine(it.line, 8); });
    onBoth(rows, "write", [](World&, kelFile& file) { return file.Write(7); });
    onBoth(rows, "write line", [](World&, kelFile& file) { return file.WriteLine("12345678"); });
    onBoth(rows, "write block",
           [](World& it, kelFile& file) { return file.Write(it.line, it.size); });
    onBoth(rows, "seek", [](World&, kelFile& file) { return file.SeekTo(2); });
    onBoth(rows, "begin", [](World&, kelFile& file) { return file.SeekToBegin(); });
    onBoth(rows, "end", [](World&, kelFile& file) { return file.SeekToEnd(); });
    onBoth(
        rows, "close", [](World&, kelFile& file) { return file.Close(); }, After::Ended);
    Walk(rows);
}

TEST(FaultWalk, Directories) {
    const auto size = [](const zuStlVector<zuString>& names) { return Status(names.size() == 3); };
    constexpr int kUnread = kelStatusReadFailed;
    Walk({
        {"open", kFailed, [](World& it) { return it.closed.Open(it.place.Path()); }},
        {"close", kFailed, [](World& it) { return it.listing.Close(); }, After::Ended},
        {"first", kFailed, [](World& it) { return Status(it.listing.ReadFirst(it.text) == kOk); }},
        {"next", kUnread, [](World& it) { return it.listing.ReadNext(it.text); }},
        {"copied", kFailed,
         [](World& it) {
             kelDirectory copy(it.listing);
             copy = it.listing;
             return Status(copy.GetName() == it.place.Path());
         }},
        {"number", kFailed, [](World& it) { return Status(it.listing.GetNumberOfFiles() == 3); }},
        {"names", kFailed, [&](World& it) { return size(it.listing.GetFileNames()); }},
        {"static names", kFailed,
         [&](World& it) { return size(Directory::GetFileNames(it.place.Path())); }},
        {"make", kFailed, [](World& it) { return Directory::Create(it.missing, 0x755, false); }},
        {"make all", kFailed, [](World& it) { return Directory::Create(it.missing, 0x755, true); },
         After::Made},
        {"delete", kFailed,
         [](World& it) {
             return Directory::Delete(it.place / "an empty directory, to be deleted");
         }},
        {"change", kFailed,
         [](World& it) { return Directory::SetCurrentDirectory(it.place.Path()); }},
        {"current", kFailed,
         [](World& it) { return Status(Directory::GetCurrentDirectory() == it.here); }},
        {"absolute", kFailed,
         [](World& it) { return Status(Directory::GetAbsolutePath(it.file) == it.file); }},
        {"relative", kFailed,
         [](World&) { return Status(Directory::GetRelativePath("/", "/usr") == "./usr/"); }},
    });
}

TEST(FaultWalk, SegmentsModulesAndProcesses) {
    constexpr unsigned long long kLarge = 16U << 20U;
    const auto child = [](World& it) {
        EXPECT_EQ(it.process.Start("sleep", {"30"}, false), kOk);
        it.pid = it.process.GetPid();
    };
    const auto load = [](World& it) {
        EXPECT_EQ(it.module.LoadLibrary(ZUKEL_TEST_MODULES "/first.dll"), kOk);
    };
    const auto files = [](World& it) { it.beyond.Write("out", ""), it.beyond.Write("err", ""); };
    const auto start = [](World& it) {  // with every stretch of its work
        const std::string out = it.beyond / "out", error = it.beyond / "err";
        const int status =
            it.process.Start(it.program, {it.file}, it.beyond.Path(), {out, error}, true);
        const Guard own = Counting(false);
        EXPECT_TRUE(Ends(it.process));
        EXPECT_EQ(fs::remove(it.beyond / "ran"), status == kOk);
        EXPECT_EQ(it.process.GetPid() != -1, status == kOk);
        EXPECT_EQ(it.process.GetLastError().empty(), status == kOk);
        EXPECT_TRUE(status != kOk || ReadWhole(out) == "out\n" ||
                    FaultedSource() == FaultSource::Runtime);
        return status;
    };
    Walk({
        {"create", kFailed, [](World& it) { return it.none.Create(100, it.missing); }},
        {"create large", kFailed, [](World& it) { return it.none.Create(kLarge, it.missing); }},
        {"new", kFailed, [](World& it) { return Memory().Attach(it.taken); }},
        {"attach", kFailed, [](World& it) { return it.none.Attach(it.taken); }},
        {"destroy", kFailed, [](World& it) { return it.owner.Destroy(); }, After::Ended},
        {"detach", kFailed, [](World& it) { return it.attached.Detach(); }, After::Ended},
        {"remove", kFailed, [](World& it) { return it.owner.Remove(it.taken); }, After::Ended},
        {"load", kFailed,
         [](World& it) { return it.unloaded.LoadLibrary(ZUKEL_TEST_MODULES "/first.dll"); }},
        {"load by parts", kFailed,
         [](World& it) { return it.unloaded.kelLoadLibraryEx(ZUKEL_TEST_MODULES, "first"); }},
        {"find", kFailed,
         [](World& it) {
             long long (*answer)() = nullptr;
             return it.module.FindSymbol(&answer, "Answer");
         },
         After::AsBefore, load},
        {"unload", kFailed, [](World& it) { return it.module.UnloadLibrary(); }, After::AsBefore,
         load},
        {"start", kFailed, start, After::AsBefore, files},
        {"kill", kFailed, [](World& it) { return it.process.Kill(); }, After::Ended, child},
        {"native kill", kFailed,
         [](World& it) { return kelProcess::NativeKill(it.process.GetPid()); }, After::AsBefore,
         child},
        {"running", kFailed, [](World& it) { return Status(kelProcess(it.process).IsRunning()); },
         After::AsBefore, child},
    });
    EXPECT_TRUE(AllCollected());
    InChild([] {
        const TemporaryDirectory place;
        const std::string out = place / "out";
        close(STDIN_FILENO);
        close(STDERR_FILENO);
        WalkFaults("start when the files take the numbers of the streams", [&] {
            kelProcess process;
            int status = kFailed;
            try {
                status = UnderFaults([&] {
                    return process.Start("echo", {"out"}, "", {out, place / "err"}, false);
                });
            } catch (const std::bad_alloc&) {
            }
            EXPECT_TRUE(Ends(process));
            process = kelProcess();
            EXPECT_TRUE(AllCollected());
            const bool whole = fs::exists(out) && ReadWhole(out) == "out\n";
            fs::remove(out);
            return status == kOk && (whole || FaultedSource() == FaultSource::Runtime);
        });
    });
}

}  // namespace
