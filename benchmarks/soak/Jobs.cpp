#include <unistd.h>
#include <zukel.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "../Common.h"
#include "Soak.h"

namespace {

// What is done with an object: a new one each time, or one that lives as long as the program.

void Use(kelLibrary& library, const Place&, long long number) {
    const char* const name = number % 2 == 0 ? "SOAK" : "PATH";
    zuString text;
    MUST(library.SetEnvironmentVariable("SOAK", "value") == kelStatusOk);
    MUST(library.GetEnvironmentVariable(text, name) == kelStatusOk);
    MUST(library.GetHostName(text) == kelStatusOk);
    MUST(!library.GetTempDir().empty());
    MUST(library.GetCurrentUserName(text) == kelStatusOk);
    MUST(library.GetUserDirectory(text) == kelStatusOk);
}

void Use(kelDirectory& directory, const Place& place, long long) {
    zuString name;
    directory.Close();  // what it has held since the last time
    MUST(directory.Open(place.path) == kelStatusOk);
    MUST(directory.ReadFirst(name) == kelStatusOk);
}

/// Now and then a module that is not there: its reason is kept somewhere, too.
void Use(kelDynamicObject& module, const Place&, long long number) {
    long long (*answer)() = nullptr;
    module.UnloadLibrary();
    if (number % 10 == 0) {
        MUST(module.LoadLibrary("/missing.so") != kelStatusOk);
        MUST(!module.GetError().empty());
    }
    MUST(module.LoadLibrary(ZUKEL_BENCHMARK_MODULE) == kelStatusOk);
    MUST(module.FindSymbol(&answer, "Answer") == kelStatusOk);
}

void Use(kelFile& file, const Place& place, long long number) {
    const int buffered = number % 2 == 0 ? 0 : kelFile::ModeBuffered;
    char byte = 0;
    file.Close();
    MUST(file.Open("/missing/file", kelFile::ModeRead) == kelStatusNotFound);
    if (number % 10 == 0) {
        MUST(file.CreateTemporaryFile(place.path + "/t-XXXXXX") == kelStatusOk);
    } else {
        MUST(file.Open(place.file, kelFile::ModeRead | buffered) == kelStatusOk);
        MUST(file.Read(byte) == kelStatusOk);
    }
}

template <typename Object>
void Once(const Place& place, long long number) {
    Object object;
    Use(object, place, number);
}

template <typename Object>
void Again(const Place& place, long long number) {
    static Object object;
    Use(object, place, number);
}

// What an object of each other class does.

void UseAtomic(const Place&, long long) {
    kelAtomic counter;
    counter.Increment();
    MUST(counter.Decrement() == 0);
}

void UseFileInfo(const Place& place, long long) {
    MUST(kelFileInfo(place.file).GetSize() == 1);
}

/// The start of a program that is not there makes no child, but all that goes before one.
void UseProcess(const Place&, long long number) {
    kelProcess process;
    MUST(number % 10 != 0 || process.Start("/missing", false) != kelStatusOk);
    MUST(!process.IsRunning());
}

void UseSegment(const Place&, long long) {
    const zuString name = "soak-" + std::to_string(getpid());
    kelSharedMemory owner;
    kelSharedMemory other;
    MUST(owner.Create(4096, name) == kelStatusOk);
    MUST(other.Attach(name) == kelStatusOk);
}

void UseTime(const Place&, long long number) {
    kelTime time(number * 1000000);
    zuString text;
    time.MakeLocalTime();
    MUST(time.GetFormatTime(text, "%c") == kelStatusOk);
}

void ReuseTime(const Place&, long long) {
    static kelTime time(0);
    zuString text;
    time.MakeCurrentTime();
    time.MakeLocalTime();
    MUST(time.GetFormatTime(text, "%c") == kelStatusOk);
}

void UseSmallOnes(const Place&, long long) {
    kelMutex mutex(nullptr);
    const kelBarrier barrier;
    const kelCondition condition(nullptr);
    MUST(kelMemoryInfo().totalPhysical + 1 == 0);
}

void UseStatics(const Place& place, long long number) {
    const zuString copy = place.path + "/copy";
    MUST(kelFile::Copy(place.file, copy, kelFileInfo::PermissionOfSource) == kelStatusOk);
    MUST(kelFile::Exists(copy));
    MUST(kelFile::Delete(copy) == kelStatusOk);
    const bool all = number % 2 == 0;
    MUST(kelDirectory::Create(copy, kelFileInfo::PermissionDefault, all) == kelStatusOk);
    MUST(kelDirectory::Delete(copy) == kelStatusOk);
    MUST(!kelDirectory::GetCurrentDirectory().empty());
    MUST(kelLibrary::GetAbsoluteFileName("~/a") != "~/a");
}

void ListAgain(const Place& place, long long) {
    static kelDirectory directory(place.path);
    MUST(directory.GetFileNames().size() >= Place::kFiles);
    MUST(directory.GetNumberOfFiles() >= Place::kFiles);
}

void ReuseFileInfo(const Place& place, long long) {
    static const kelFileInfo info(place.file);
    static const kelFileInfo missing("/missing");
    MUST(info.GetSize() == 1);
    MUST(missing.GetSize() <= 0);
}

void ReuseProcess(const Place&, long long number) {
    static kelProcess process;
    const bool there = number % 100 == 0;
    MUST(process.Start(there ? "/bin/true" : "/missing", false) ==
         (there ? kelStatusOk : kelStatusFailed));
}

/// Attaches to nothing, which leaves it as it was, and takes over a new one's segment.
void ReuseSegment(const Place&, long long) {
    static const zuString name = "soak-again-" + std::to_string(getpid());
    static kelSharedMemory empty;
    static kelSharedMemory owner;
    MUST(empty.Attach(name) != kelStatusOk);
    owner = kelSharedMemory();
    MUST(owner.Create(4096, name) == kelStatusOk);
    MUST(owner.Destroy() == kelStatusOk);
}

}  // namespace

const std::vector<Job>& Jobs() {
    static const std::vector<Job> jobs = {
        {"kelLibrary", Once<kelLibrary>},
        {"kelAtomic", UseAtomic},
        {"kelDirectory", Once<kelDirectory>},
        {"kelDynamicObject", Once<kelDynamicObject>},
        {"kelFile", Once<kelFile>},
        {"kelFileInfo", UseFileInfo},
        {"kelProcess", UseProcess},
        {"kelSharedMemory", UseSegment},
        {"kelTime", UseTime},
        {"kelMutex and the like", UseSmallOnes},
        {"static calls", UseStatics},
        {"one kelLibrary", Again<kelLibrary>},
        {"one kelFile", Again<kelFile>},
        {"one kelDirectory, opened", Again<kelDirectory>},
        {"one kelDirectory, listed", ListAgain},
        {"one kelDynamicObject", Again<kelDynamicObject>},
        {"one kelFileInfo", ReuseFileInfo},
        {"one kelProcess", ReuseProcess},
        {"one kelSharedMemory", ReuseSegment},
        {"one kelTime", ReuseTime},
    };
    return jobs;
}

void RunChild(long long number) {
    kelProcess process;
    MUST(process.Start("/bin/true", number % 4 == 0) == kelStatusOk);
    while (number % 2 == 0 && process.IsRunning()) {
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    if (number % 5 == 1) {
        process.Kill();  // which says whether the child was still there
    }
}

namespace {

std::string NewFolder() {
    std::string path = std::filesystem::temp_directory_path() / "soak-XXXXXX";
    MUST(mkdtemp(path.data()) != nullptr);
    return path;
}

}  // namespace

Place::Place() : path(NewFolder()), file(path + "/0") {
    for (int number = 0; number < kFiles; ++number) {
        std::ofstream(path + "/" + std::to_string(number)) << "x";
    }
}

Place::~Place() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

void Place::List() const {
    MUST(kelDirectory::GetFileNames(path).size() >= kFiles);
}
