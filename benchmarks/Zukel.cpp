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
    Use(info.GetSize(), info.GetType(), info.GetLastModifiedTime());
}

void ThreeParts(const kelFileInfo& info) {
    Use(info.GetPath(), info.GetFileName(), info.GetBaseName());
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

const bool kAdded = [] {
    const Jobs jobs("zukel", Keep<kelLibrary>);
    jobs.Plain<Reader, File<kCreate>>();
    jobs.ReadAt<Reader>();
    jobs.Buffered<BufferedReader, File<kCreate | kelFile::ModeBuffered>>();
    jobs.Copy([](auto& from, auto& to) { return kelFile::Copy(from, to, kDefault); });
    jobs.Rename([](auto& from, auto& to) { return kelFile::Rename(from, to); });
    jobs.ReplaceWhole([](auto& name, auto& text) { return kelFile::ReplaceWhole(name, text); });
    jobs.DeleteTree([](auto& path) { return kelDirectory::DeleteTree(path); });
    jobs.Exists([](auto& name) { return kelFile::Exists(name); });
    jobs.List([](auto& directory) { return kelDirectory::GetFileNames(directory); });
    jobs.Directories([](auto& path) { return kelDirectory::Create(path, kDefault, false); },
                     [](auto& path) { return kelDirectory::Create(path, kDefault, true); },
                     [](auto& path) { return kelDirectory::Delete(path); });
    jobs.Repeat("FileFacts", Facts);
    jobs.With("NormalizePath", Make<zuString>(kLongPath), kelDirectory::GetAbsolutePath);
    jobs.Repeat("RelativePath", [] { return kelDirectory::GetRelativePath(kFrom, kTo); });
    jobs.With("ThreeNameParts", Make<kelFileInfo>(kLongPath), ThreeParts);
    jobs.With("FourNameParts", Make<kelFileInfo>(kKnownFile),
              [](const kelFileInfo& info) {  // which exists: the extension asks the system, once
                  ThreeParts(info);
                  benchmark::DoNotOptimize(info.GetFileExtension());
              });
    jobs.With("ReadVariable", Make<kelLibrary>(), [](kelLibrary& library) {
        zuString value;
        library.GetEnvironmentVariable(value, "PATH");
        return value;
    });
    jobs.With("SetVariable", Make<kelLibrary>(), [](kelLibrary& library) {
        MUST(library.SetEnvironmentVariable("ZUKEL_BENCHMARK", "value") == kelStatusOk);
    });
    jobs.Start([] {
        kelProcess process;
        MUST(process.Start("/bin/true", false) == kelStatusOk);
        siginfo_t info{};
        waitid(P_PID, static_cast<id_t>(process.GetPid()), &info, WEXITED | WNOWAIT);
        MUST(!process.IsRunning());
    });
    jobs.Run([] {
        kelProcessOptions options;
        options.command = "/bin/true";
        zuString output;
        zuString errors;
        int exitCode = -1;
        MUST(kelProcess::Run(options, "", output, errors, exitCode, -1) == kelStatusOk);
        MUST(exitCode == 0);
    });
    jobs.Repeat("MonotonicTime", kelTime::GetMonotonicTime);
    jobs.Repeat("LoadFindUnload", [] {
        kelDynamicObject module;
        long long (*answer)() = nullptr;
        MUST(module.LoadLibrary(ZUKEL_BENCHMARK_MODULE) == kelStatusOk);
        MUST(module.FindSymbol(&answer, "Answer") == kelStatusOk);
        benchmark::DoNotOptimize(answer());
        MUST(module.UnloadLibrary() == kelStatusOk);
    });
    jobs.Segment(Share);
    jobs.With(
        "Format", [] { return kelTime::GetNow(); },
        [](const kelTime& time) {
            zuString text;
            MUST(time.GetFormatTime(text, kPattern) == kelStatusOk);
            return text;
        });
    jobs.Counter<kelAtomic>([](auto& counter) { return counter.Increment(); });
    jobs.Repeat("Memory", [] {
        kelMemoryInfo info;
        kelSystem::GetMemoryDetails(info);
        return info;
    });
    jobs.Repeat("Disk", [] {
        zuDiskInfo info;
        MUST(kelSystem::GetFreeDiskSpace("/tmp", info));
        return info;
    });
    jobs.Repeat("IdleObject", [] { return kelFile().IsOpen() ? 1 : 0; });
    jobs.Idle<kelAtomic>("kelAtomic");
    jobs.Idle<kelDirectory>("kelDirectory");
    jobs.Idle<kelDynamicObject>("kelDynamicObject");
    jobs.Idle<kelFile>("kelFile");
    jobs.Idle<kelFileInfo>("kelFileInfo", kKnownFile);
    jobs.Idle<kelLibrary>("kelLibrary");
    jobs.Idle<kelProcess>("kelProcess");
    jobs.Idle<kelSharedMemory>("kelSharedMemory");
    jobs.Idle<kelTime>("kelTime", 0LL);
    jobs.Growth("openings", Make<kelFile>(), [](kelFile& file) {
        char byte = 0;
        file.Open(kKnownFile, kelFile::ModeRead | kelFile::ModeBuffered);
        MUST(file.Read(byte) == kelStatusOk);
        file.Close();
    });
    jobs.Growth(
        "listings", [] { return kelDirectory(Work::Get().Directory(100)); },
        [](kelDirectory& directory) { MUST(directory.GetFileNames().size() == 100); });

    // The same calls with nothing alive between them, and those by the platform's own means.
    const Jobs cold("zukelCold");
    cold.OpenClose<Reader>();
    cold.Exists([](auto& name) { return kelFile::Exists(name); });
    cold.Repeat("FileFacts", Facts);

    const Jobs native("zukelNative", Keep<kelLibrary>);
    native.Copy([](auto& from, auto& to) { return kelFile::NativeCopy(from, to, 0); });
    native.Rename([](auto& from, auto& to) { return kelFile::NativeRename(from, to); });
    return true;
}();

}  // namespace
