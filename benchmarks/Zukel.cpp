// The jobs by this library.

#include <sys/wait.h>
#include <zukel.h>

#include "Jobs.h"

namespace {

constexpr int kCreate = kelFile::ModeWrite | kelFile::ModeCreate | kelFile::ModeTruncate;

template <int kMode>
struct File {
    explicit File(const std::string& name) : file(name, kMode) { MUST(file.IsOpen()); }
    auto Read(char* to, unsigned long long size) {
        file.Read(to, size);
        return size;
    }
    void Write(const char* from, unsigned long long size) { file.Write(from, size); }
    auto ReadAt(long long offset, char* to, unsigned long long size) {
        file.ReadAt(offset, to, size);
        return size;
    }
    bool Line(char* to, std::size_t size) { return file.ReadLine(to, size) == kelStatusOk; }
    void ReadValue(int& value) { file.Read(value); }
    void WriteValue(int value) { file.Write(value); }
    kelFile file;
};
using Reader = File<kelFile::ModeRead>;
using BufferedReader = File<kelFile::ModeRead | kelFile::ModeBuffered>;

constexpr int kDefault = kelFileInfo::PermissionDefault;

void Facts() {
    const kelFileInfo info(kKnownFile);
    benchmark::DoNotOptimize(info.GetSize());
    benchmark::DoNotOptimize(info.GetType());
    benchmark::DoNotOptimize(info.GetLastModifiedTime());
}

void ThreeParts(const kelFileInfo& info) {
    benchmark::DoNotOptimize(info.GetPath());
    benchmark::DoNotOptimize(info.GetFileName());
    benchmark::DoNotOptimize(info.GetBaseName());
}

void Share(const std::string& name, std::size_t size, bool attach) {
    kelSharedMemory owner;
    kelSharedMemory other;
    MUST(owner.Create(size, name) == kelStatusOk);
    Touch(owner.GetBaseAddress(), size);
    if (attach) {
        MUST(other.Attach(name) == kelStatusOk);
        benchmark::DoNotOptimize(*static_cast<char*>(other.GetBaseAddress()));
    }
    MUST(owner.Destroy() == kelStatusOk);
}

const Jobs kJobs =
    Jobs("zukel", Keep<kelLibrary>)
        .OpenClose<Reader>()
        .CreateWriteClose<File<kCreate>>()
        .ReadUnbuffered<Reader>()
        .ReadUnbufferedLines<Reader>()
        .ReadAt<Reader>()
        .ReadBuffered<BufferedReader>()
        .ReadLines<BufferedReader>()
        .WriteBuffered<File<kCreate | kelFile::ModeBuffered>>()
        .Copy([](auto& from, auto& to) { return kelFile::Copy(from, to, kDefault); })
        .Rename([](auto& from, auto& to) { return kelFile::Rename(from, to); })
        .ReplaceWhole([](auto& name, auto& text) { return kelFile::ReplaceWhole(name, text); })
        .DeleteTree([](auto& path) { return kelDirectory::DeleteTree(path); })
        .Exists([](auto& name) { return kelFile::Exists(name); })
        .List([](auto& directory) { return kelDirectory::GetFileNames(directory); })
        .MakeAndRemove([](auto& path) { return kelDirectory::Create(path, kDefault, false); },
                       [](auto& path) { return kelDirectory::Delete(path); })
        .MakeFiveLevels([](auto& path) { return kelDirectory::Create(path, kDefault, true); },
                        [](auto& path) { return kelDirectory::Delete(path); })
        .Repeat("FileFacts", Facts)
        .With(
            "NormalizePath", [] { return zuString(kLongPath); }, kelDirectory::GetAbsolutePath)
        .Repeat("RelativePath", [] { return kelDirectory::GetRelativePath(kFrom, kTo); })
        .With(
            "ThreeNameParts", [] { return kelFileInfo(kLongPath); }, ThreeParts)
        .With(
            "FourNameParts", [] { return kelFileInfo(kKnownFile); },
            [](const kelFileInfo& info) {  // which exists: the extension asks the system, once
                ThreeParts(info);
                benchmark::DoNotOptimize(info.GetFileExtension());
            })
        .With(
            "ReadVariable", [] { return kelLibrary(); },
            [](kelLibrary& library) {
                zuString value;
                library.GetEnvironmentVariable(value, "PATH");
                return value;
            })
        .With(
            "SetVariable", [] { return kelLibrary(); },
            [](kelLibrary& library) {
                MUST(library.SetEnvironmentVariable("ZUKEL_BENCHMARK", "value") == kelStatusOk);
            })
        .Start([] {
            kelProcess process;
            MUST(process.Start("/bin/true", false) == kelStatusOk);
            siginfo_t info{};
            waitid(P_PID, static_cast<id_t>(process.GetPid()), &info, WEXITED | WNOWAIT);
            MUST(!process.IsRunning());
        })
        .Run([] {
            kelProcessOptions options;
            options.command = "/bin/true";
            zuString output;
            zuString errors;
            int exitCode = -1;
            MUST(kelProcess::Run(options, "", output, errors, exitCode, -1) == kelStatusOk);
            MUST(exitCode == 0);
        })
        .Repeat("MonotonicTime", kelTime::GetMonotonicTime)
        .Repeat("LoadFindUnload",
                [] {
                    kelDynamicObject module;
                    long long (*answer)() = nullptr;
                    MUST(module.LoadLibrary(ZUKEL_BENCHMARK_MODULE) == kelStatusOk);
                    MUST(module.FindSymbol(&answer, "Answer") == kelStatusOk);
                    benchmark::DoNotOptimize(answer());
                    MUST(module.UnloadLibrary() == kelStatusOk);
                })
        .Segment(Share)
        .With(
            "Format", [] { return kelTime::GetNow(); },
            [](const kelTime& time) {
                zuString text;
                MUST(time.GetFormatTime(text, kPattern) == kelStatusOk);
                return text;
            })
        .Counter<kelAtomic>([](auto& counter) { return counter.Increment(); })
        .Repeat("Memory",
                [] {
                    kelMemoryInfo info;
                    kelSystem::GetMemoryDetails(info);
                    return info;
                })
        .Repeat("Disk",
                [] {
                    zuDiskInfo info;
                    MUST(kelSystem::GetFreeDiskSpace("/tmp", info));
                    return info;
                })
        .Repeat("IdleObject", [] { return kelFile().IsOpen() ? 1 : 0; })
        .Idle<kelAtomic>("kelAtomic")
        .Idle<kelDirectory>("kelDirectory")
        .Idle<kelDynamicObject>("kelDynamicObject")
        .Idle<kelFile>("kelFile")
        .Idle<kelFileInfo>("kelFileInfo", kKnownFile)
        .Idle<kelLibrary>("kelLibrary")
        .Idle<kelProcess>("kelProcess")
        .Idle<kelSharedMemory>("kelSharedMemory")
        .Idle<kelTime>("kelTime", 0LL)
        .Growth(
            "openings", [] { return kelFile(); },
            [](kelFile& file) {
                char byte = 0;
                file.Open(kKnownFile, kelFile::ModeRead | kelFile::ModeBuffered);
                MUST(file.Read(byte) == kelStatusOk);
                file.Close();
            })
        .Growth(
            "listings", [] { return kelDirectory(Work::Get().Directory(100)); },
            [](kelDirectory& directory) { MUST(directory.GetFileNames().size() == 100); });

// The same calls with nothing alive between them, and those by the platform's own means.
const Jobs kCold = Jobs("zukelCold")
                       .OpenClose<Reader>()
                       .Exists([](auto& name) { return kelFile::Exists(name); })
                       .Repeat("FileFacts", Facts);
const Jobs kNative =
    Jobs("zukelNative", Keep<kelLibrary>)
        .Copy([](auto& from, auto& to) { return kelFile::NativeCopy(from, to, 0); })
        .Rename([](auto& from, auto& to) { return kelFile::NativeRename(from, to); });

}  // namespace
