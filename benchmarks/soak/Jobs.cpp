#include <unistd.h>
#include <zukel.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "Soak.h"

namespace {

void UseLibrary(const Place&, long long) {
    kelLibrary library;
    zuString name;
    Check(library.GetHostName(name) == kelStatusOk, "kelLibrary::GetHostName");
}

void UseAtomic(const Place&, long long) {
    kelAtomic counter;
    counter.Increment();
    Check(counter.Decrement() == 0, "kelAtomic::Decrement");
}

void UseDirectory(const Place& place, long long) {
    kelDirectory directory(place.Path());
    zuString name;
    Check(directory.ReadFirst(name) == kelStatusOk, "kelDirectory::ReadFirst");
}

/// Now and then a module that is not there: its reason is kept somewhere, too.
void UseModule(const Place&, long long number) {
    kelDynamicObject module;
    if (number % 10 == 0) {
        Check(module.LoadLibrary("/missing.so") != kelStatusOk, "the load of nothing");
        Check(!module.GetError().empty(), "kelDynamicObject::GetError");
    } else {
        Check(module.LoadLibrary(ZUKEL_BENCHMARK_MODULE) == kelStatusOk, "the load of a module");
    }
}

void UseFile(const Place& place, long long number) {
    if (number % 10 == 0) {
        kelFile file;
        Check(file.CreateTemporaryFile(place.Path() + "/t-XXXXXX") == kelStatusOk,
              "kelFile::CreateTemporaryFile");
        return;
    }
    kelFile file(place.File(),
                 number % 2 == 0 ? kelFile::ModeRead : kelFile::ModeRead | kelFile::ModeBuffered);
    char byte = 0;
    Check(file.Read(byte) == kelStatusOk, "kelFile::Read");
}

void UseFileInfo(const Place& place, long long) {
    Check(kelFileInfo(place.File()).GetSize() == 1, "kelFileInfo::GetSize");
}

/// The start of a program that is not there makes no child, but all that goes before one.
void UseProcess(const Place&, long long number) {
    kelProcess process;
    Check(number % 10 != 0 || process.Start("/missing", false) != kelStatusOk,
          "the start of nothing");
    Check(!process.IsRunning(), "kelProcess::IsRunning");
}

void UseSegment(const Place&, long long) {
    const zuString name = "soak-" + std::to_string(getpid());
    kelSharedMemory owner;
    Check(owner.Create(4096, name) == kelStatusOk, "kelSharedMemory::Create");
    kelSharedMemory other;
    Check(other.Attach(name) == kelStatusOk, "kelSharedMemory::Attach");
}

void UseTime(const Place&, long long number) {
    kelTime time(number * 1000000);
    time.MakeLocalTime();
    zuString text;
    Check(time.GetFormatTime(text, "%c") == kelStatusOk, "kelTime::GetFormatTime");
}

void UseSmallOnes(const Place&, long long) {
    kelMutex mutex(nullptr);
    const kelBarrier barrier;
    const kelCondition condition(nullptr);
    const kelMemoryInfo memory;
    Check(memory.totalPhysical + 1 == 0, "kelMemoryInfo");
}

void UseStatics(const Place& place, long long number) {
    const zuString copy = place.Copy();
    Check(kelFile::Copy(place.File(), copy, kelFileInfo::PermissionOfSource) == kelStatusOk,
          "kelFile::Copy");
    Check(kelFile::Exists(copy) && kelFile::Delete(copy) == kelStatusOk, "kelFile::Delete");
    Check(
        kelDirectory::Create(copy, kelFileInfo::PermissionDefault, number % 2 == 0) == kelStatusOk,
        "kelDirectory::Create");
    Check(kelDirectory::Delete(copy) == kelStatusOk, "kelDirectory::Delete");
    Check(!kelDirectory::GetCurrentDirectory().empty(), "kelDirectory::GetCurrentDirectory");
    Check(kelLibrary::GetAbsoluteFileName("~/a") != "~/a", "kelLibrary::GetAbsoluteFileName");
}

// One object each that lives as long as the program, and is used anew each time.

void ReuseLibrary(const Place&, long long number) {
    static kelLibrary library;
    zuString text;
    Check(
        library.SetEnvironmentVariable("SOAK", "value") == kelStatusOk &&
            library.GetEnvironmentVariable(text, number % 2 == 0 ? "SOAK" : "PATH") == kelStatusOk,
        "kelLibrary::GetEnvironmentVariable");
    Check(library.GetHostName(text) == kelStatusOk && !library.GetTempDir().empty() &&
              library.GetCurrentUserName(text) == kelStatusOk &&
              library.GetUserDirectory(text) == kelStatusOk,
          "kelLibrary::GetUserDirectory");
}

void ReuseFile(const Place& place, long long number) {
    static kelFile file;
    char byte = 0;
    Check(number % 10 == 0
              ? file.CreateTemporaryFile(place.Path() + "/t-XXXXXX") == kelStatusOk
              : file.Open(place.File(),
                          kelFile::ModeRead | (number % 2 == 0 ? 0 : kelFile::ModeBuffered)) ==
                        kelStatusOk &&
                    file.Read(byte) == kelStatusOk,
          "kelFile::Open again");
    Check(file.Close() == kelStatusOk, "kelFile::Close");
    Check(file.Open("/missing/file", kelFile::ModeRead) == kelStatusNotFound,
          "the opening of nothing");
}

void ReuseDirectory(const Place& place, long long) {
    static kelDirectory directory;
    zuString name;
    Check(directory.Open(place.Path()) == kelStatusOk && directory.ReadFirst(name) == kelStatusOk &&
              directory.Close() == kelStatusOk,
          "kelDirectory::Open again");
}

void ListAgain(const Place& place, long long) {
    static kelDirectory directory(place.Path());
    Check(directory.GetFileNames().size() >= Place::kFiles &&
              directory.GetNumberOfFiles() >= Place::kFiles,
          "kelDirectory::GetFileNames again");
}

void ReuseModule(const Place&, long long number) {
    static kelDynamicObject module;
    long long (*answer)() = nullptr;
    Check(module.LoadLibrary(ZUKEL_BENCHMARK_MODULE) == kelStatusOk &&
              module.FindSymbol(&answer, "Answer") == kelStatusOk &&
              module.UnloadLibrary() == kelStatusOk,
          "the load of a module again");
    Check(number % 10 != 0 || module.LoadLibrary("/missing.so") != kelStatusOk,
          "the load of nothing again");
}

void ReuseFileInfo(const Place& place, long long) {
    static const kelFileInfo info(place.File());
    static const kelFileInfo missing("/missing");
    Check(info.GetSize() == 1 && missing.GetSize() <= 0, "kelFileInfo::GetSize again");
}

void ReuseProcess(const Place&, long long number) {
    static kelProcess process;
    Check(process.Start(number % 100 == 0 ? "/bin/true" : "/missing", false) ==
              (number % 100 == 0 ? kelStatusOk : kelStatusFailed),
          "kelProcess::Start again");
}

/// Attaches to nothing, which leaves it as it was, and takes over a new one's segment.
void ReuseSegment(const Place&, long long) {
    static const zuString name = "soak-again-" + std::to_string(getpid());
    static kelSharedMemory empty;
    static kelSharedMemory owner;
    Check(empty.Attach(name) != kelStatusOk, "kelSharedMemory::Attach to nothing again");
    owner = kelSharedMemory();
    Check(owner.Create(4096, name) == kelStatusOk && owner.Destroy() == kelStatusOk,
          "kelSharedMemory::Create again");
}

void ReuseTime(const Place&, long long) {
    static kelTime time(0);
    zuString text;
    time.MakeCurrentTime();
    time.MakeLocalTime();
    Check(time.GetFormatTime(text, "%c") == kelStatusOk, "kelTime::GetFormatTime again");
}

}  // namespace

const std::array<Job, 20> kJobs{{{"kelLibrary", UseLibrary},
                                 {"kelAtomic", UseAtomic},
                                 {"kelDirectory", UseDirectory},
                                 {"kelDynamicObject", UseModule},
                                 {"kelFile", UseFile},
                                 {"kelFileInfo", UseFileInfo},
                                 {"kelProcess", UseProcess},
                                 {"kelSharedMemory", UseSegment},
                                 {"kelTime", UseTime},
                                 {"kelMutex and the like", UseSmallOnes},
                                 {"static calls", UseStatics},
                                 {"one kelLibrary", ReuseLibrary},
                                 {"one kelFile", ReuseFile},
                                 {"one kelDirectory, opened", ReuseDirectory},
                                 {"one kelDirectory, listed", ListAgain},
                                 {"one kelDynamicObject", ReuseModule},
                                 {"one kelFileInfo", ReuseFileInfo},
                                 {"one kelProcess", ReuseProcess},
                                 {"one kelSharedMemory", ReuseSegment},
                                 {"one kelTime", ReuseTime}}};

void RunChild(long long number) {
    kelProcess process;
    Check(process.Start("/bin/true", number % 4 == 0) == kelStatusOk, "kelProcess::Start");
    while (number % 2 == 0 && process.IsRunning()) {
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    if (number % 5 == 1) {
        process.Kill();  // which says whether the child was still there
    }
}

void SettleChildren() {
    for (int attempt = 0; attempt < 2000 && ReadFigures().zombies != 0; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        kelProcess::IsRunning(kelProcess::GetCurrentProcessPid());
    }
}

void List(const Place& place) {
    Check(kelDirectory::GetFileNames(place.Path()).size() >= Place::kFiles,
          "kelDirectory::GetFileNames");
}

Place::Place() : path_((std::filesystem::temp_directory_path() / "soak-XXXXXX").string()) {
    Check(mkdtemp(path_.data()) != nullptr, "making a directory");
    for (int number = 0; number < kFiles; ++number) {
        std::ofstream(path_ + "/" + std::to_string(number)) << "x";
    }
}

Place::~Place() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}
