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

}  // namespace

const std::array<Job, 10> kJobs{{{"kelLibrary", UseLibrary},
                                 {"kelAtomic", UseAtomic},
                                 {"kelDirectory", UseDirectory},
                                 {"kelDynamicObject", UseModule},
                                 {"kelFile", UseFile},
                                 {"kelFileInfo", UseFileInfo},
                                 {"kelProcess", UseProcess},
                                 {"kelSharedMemory", UseSegment},
                                 {"kelTime", UseTime},
                                 {"kelMutex and the like", UseSmallOnes}}};

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
