#include <apr_shm.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <tuple>

#include "frame/Pool.h"
#include "kelAtomic.h"
#include "kelSharedMemory.h"
#include "kelStatus.h"
#include "kelSystem.h"
#include "kelTime.h"
#include "support/Faults.h"
#include "support/System.h"
#include "support/TemporaryDirectory.h"

using zukel::test::FaultReach;
using zukel::test::Faults;
using zukel::test::FaultSource;
using zukel::test::OpenDescriptors;
using zukel::test::Outcome;
using zukel::test::RuntimeUsers;
using zukel::test::TemporaryDirectory;
using zukel::test::UnderFaults;
using zukel::test::WalkFaults;

namespace {

Outcome OutcomeOf(int status) {
    EXPECT_TRUE(status == kelStatusOk || status == kelStatusFailed) << status;
    return status == kelStatusOk ? Outcome::Succeeded : Outcome::Failed;
}

/// The file behind a segment: the one whose inode is mapped at the address.
std::string FileAt(const void* address) {
    const std::uintptr_t page = reinterpret_cast<std::uintptr_t>(address) & ~std::uintptr_t{4095};
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (std::stoull(line, nullptr, 16) == page) {
            std::istringstream words(line);
            std::string word;
            ino_t inode = 0;
            words >> word >> word >> word >> word >> inode;
            for (const auto& entry : std::filesystem::directory_iterator("/dev/shm")) {
                struct stat facts {};
                if (stat(entry.path().c_str(), &facts) == 0 && facts.st_ino == inode) {
                    return entry.path();
                }
            }
        }
    }
    ADD_FAILURE() << "not mapped from a file that has a name";
    return "";
}

std::size_t MappedSegments() {
    std::ifstream maps("/proc/self/maps");
    std::size_t count = 0;
    for (std::string line; std::getline(maps, line);) {
        count += line.find("/dev/shm/") != std::string::npos;
    }
    return count;
}

TEST(SharedMemoryFaults, Create_AnyCallFails_LeavesNoNameAndAnEmptyObject) {
    const TemporaryDirectory directory;
    const std::string name = directory / "a segment with a name that is not short";
    for (const FaultSource source : {FaultSource::Memory, FaultSource::System}) {
        for (const unsigned long long size : {100ULL, 16ULL << 20U}) {
            WalkFaults("Create", source, [&] {
                const std::size_t mapped = MappedSegments();
                kelSharedMemory memory;
                bool thrown = true;
                int status = kelStatusFailed;
                try {
                    status = UnderFaults([&] { return memory.Create(size, name); });
                    thrown = false;
                } catch (const std::bad_alloc&) {
                }
                EXPECT_EQ(memory.GetBaseAddress() != nullptr, status == kelStatusOk);
                EXPECT_EQ(kelSharedMemory().Attach(name), status) << "no name is left";
                if (status != kelStatusOk) {
                    EXPECT_LE(MappedSegments(), mapped + 1) << "one, if unmapping fails as well";
                    if (!Faults::IsSingle()) {
                        kelSharedMemory().Remove(name);  // what could not be cleared up
                    }
                    EXPECT_EQ(memory.Create(size, name), kelStatusOk) << "the object is Empty";
                }
                return thrown ? Outcome::Failed : OutcomeOf(status);
            });
        }
    }
}

TEST(SharedMemoryFaults, Attach_AnyCallFails_LeavesAnEmptyObject) {
    const TemporaryDirectory directory;
    const std::string name = directory / "a segment with a name that is not short";
    kelSharedMemory owner;
    ASSERT_EQ(owner.Create(100, name), kelStatusOk);
    for (const FaultSource source : {FaultSource::Memory, FaultSource::System}) {
        WalkFaults("Attach", source, [&] {
            kelSharedMemory memory;
            int status = kelStatusFailed;
            try {
                status = UnderFaults([&] { return memory.Attach(name); });
            } catch (const std::bad_alloc&) {
            }
            EXPECT_EQ(memory.GetSize(), status == kelStatusOk ? 100U : 0U);
            EXPECT_TRUE(status == kelStatusOk || memory.Attach(name) == kelStatusOk);
            return OutcomeOf(status);
        });
    }
}

TEST(SharedMemoryFaults, Ends_AnyCallFails_EndTheObjectAndTellIt) {
    const TemporaryDirectory directory;
    const std::string name = directory / "segment";
    struct Row {
        const char* end;
        bool attached;
        FaultSource source;
        std::function<int(kelSharedMemory&)> call;
    };
    const Row rows[] = {
        {"Destroy", false, FaultSource::System, [](auto& memory) { return memory.Destroy(); }},
        {"Detach", true, FaultSource::System, [](auto& memory) { return memory.Detach(); }},
        {"Remove", false, FaultSource::Runtime, [&](auto& memory) { return memory.Remove(name); }},
    };
    for (const Row& row : rows) {
        WalkFaults(row.end, row.source, [&] {
            kelSharedMemory peer;
            kelSharedMemory memory;
            if (row.attached) {
                EXPECT_EQ(peer.Create(100, name), kelStatusOk);
            }
            EXPECT_EQ(row.attached ? memory.Attach(name) : memory.Create(100, name), kelStatusOk);
            const int status = UnderFaults([&] { return row.call(memory); });
            EXPECT_FALSE(memory.IsValid());
            kelSharedMemory().Remove(name);  // where the removal is what failed
            return OutcomeOf(status);
        });
    }
}

TEST(SharedMemory, Segments_AreThoseOfTheRuntime) {
    const TemporaryDirectory directory;
    const zukel::Pool pool;
    for (const std::string& name : {directory / "plain", directory / "\xff\x80 bytes above 127",
                                    std::string(1000, '\xe9') + directory.Path()}) {
        kelSharedMemory ours;
        apr_shm_t* theirs = nullptr;
        ASSERT_EQ(ours.Create(77, name), kelStatusOk);
        ASSERT_EQ(apr_shm_attach(&theirs, name.c_str(), pool.Get()), APR_SUCCESS);
        EXPECT_EQ(apr_shm_size_get(theirs), 77U);
        static_cast<char*>(ours.GetBaseAddress())[76] = 'x';
        EXPECT_EQ(static_cast<char*>(apr_shm_baseaddr_get(theirs))[76], 'x');
        apr_shm_detach(theirs);
        EXPECT_EQ(ours.Destroy(), kelStatusOk);
        ASSERT_EQ(apr_shm_create(&theirs, 78, name.c_str(), pool.Get()), APR_SUCCESS);
        kelSharedMemory again;
        EXPECT_EQ(again.Create(78, name), kelStatusFailed);
        EXPECT_EQ(again.Attach(name), kelStatusOk);
        EXPECT_EQ(again.GetSize(), 78U);
        apr_shm_destroy(theirs);
    }
}

TEST(SharedMemory, Segment_IsItsOwnersAloneAndTakesItsMemoryAtOnce) {
    const TemporaryDirectory directory;
    for (const mode_t mask : {0U, 022U, 0777U}) {
        kelSharedMemory memory;
        const int descriptors = OpenDescriptors();
        const mode_t former = umask(mask);
        const int status = memory.Create(1 << 20U, directory / "segment");
        umask(former);
        ASSERT_EQ(status, kelStatusOk);
        EXPECT_EQ(OpenDescriptors(), descriptors) << "nothing for a child process to inherit";
        struct stat facts {};
        ASSERT_EQ(stat(FileAt(memory.GetBaseAddress()).c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 07777U, 0600U);
        EXPECT_GE(facts.st_blocks * 512, 1 << 20U) << "reserved before the first touch";
        const zukel::test::Unprivileged nobody;
        EXPECT_EQ(kelSharedMemory().Attach(directory / "segment"),
                  geteuid() == 0 ? kelStatusOk : kelStatusFailed);
    }
}

TEST(SharedMemory, AboveTheProcessesFileLimit_FailsWithoutASignal) {
    const TemporaryDirectory directory;
    rlimit former{};
    getrlimit(RLIMIT_FSIZE, &former);
    const rlimit small{4096, former.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    kelSharedMemory memory;
    const int over = memory.Create(4089, directory / "segment");
    const int within = memory.Create(4088, directory / "segment");
    setrlimit(RLIMIT_FSIZE, &former);
    EXPECT_EQ(over, kelStatusFailed);
    EXPECT_EQ(within, kelStatusOk);
}

TEST(SharedMemory, HalfMadeSegments_AreNotAttachedToAndLeaveNothingOpen) {
    const TemporaryDirectory directory;
    const std::string name = directory / "segment";
    kelSharedMemory memory;
    ASSERT_EQ(memory.Create(100, name), kelStatusOk);
    const std::string path = FileAt(memory.GetBaseAddress());
    const auto make = [&](const std::string& content) {
        std::filesystem::remove_all(path);
        std::ofstream(path, std::ios::binary) << content;
    };
    const auto word = [](std::uint64_t value) {
        return std::string(reinterpret_cast<const char*>(&value), sizeof value);
    };
    const std::function<void()> states[] = {
        [&] { make(""); },                      // made, not yet sized
        [&] { make(std::string(108, '\0')); },  // sized, not yet filled
        [&] { make("7 bytes"); },               // too short for a word
        [&] { make(word(7)); },
        [&] { make(word(109) + std::string(100, 'x')); },  // larger than it is
        [&] { make(word(107) + std::string(100, 'x')); },
        [&] { make(word(~0ULL) + std::string(100, 'x')); },
        [&] {
            std::filesystem::remove(path);
            std::filesystem::create_directory(path);
        },
        [&] {
            std::filesystem::remove(path);
            std::filesystem::create_symlink(directory.Write("file", word(8)), path);
        },
        [&] {
            std::filesystem::remove(path);
            ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        },
    };
    for (const auto& state : states) {
        state();
        const int descriptors = OpenDescriptors();
        const std::size_t mapped = MappedSegments();
        kelSharedMemory attached;
        for (int round = 0; round < 3; ++round) {
            EXPECT_EQ(attached.Attach(name), kelStatusFailed) << &state - states;
        }
        EXPECT_EQ(attached.Create(1, name), kelStatusFailed) << "the name is taken";
        EXPECT_EQ(OpenDescriptors(), descriptors);
        EXPECT_EQ(MappedSegments(), mapped);
    }
    EXPECT_EQ(kelSharedMemory().Remove(name), kelStatusOk);
    EXPECT_EQ(kelSharedMemory().Create(1, name), kelStatusOk);
}

TEST(SystemFaults, MemoryDetails_WhatCannotBeReadIsAllOnes) {
    constexpr unsigned long long kNone = ~0ULL;
    WalkFaults("GetMemoryDetails", FaultSource::System, [&] {
        kelMemoryInfo info;
        UnderFaults([&] {
            kelSystem::GetMemoryDetails(info);
            return 0;
        });
        bool whole = true;
        for (const auto& [total, used, available] :
             {std::tuple(info.totalPhysical, info.usedPhysical, info.availablePhysical),
              std::tuple(info.totalVirtual, info.usedVirtual, info.availableVirtual),
              std::tuple(info.totalPaging, info.usedPaging, info.availablePaging)}) {
            const bool told = total != kNone && available != kNone;
            EXPECT_EQ(used, told ? total - available : kNone);
            whole = whole && told;
        }
        return whole ? Outcome::Succeeded : Outcome::Failed;
    });
    WalkFaults("GetFreeDiskSpace", FaultSource::System, [] {
        zuDiskInfo info;
        const bool told = UnderFaults([&] { return kelSystem::GetFreeDiskSpace("/", info); });
        EXPECT_EQ(info.totalBytes != 0, told);
        return told ? Outcome::Succeeded : Outcome::Failed;
    });
}

TEST(SystemFaults, Time_AFailedConversionIsNoValidTime) {
    const kelTime moment(1000);
    const std::function<kelTime()> ways[] = {
        [] { return kelTime(1000); },
        [&] { return kelTime(moment); },
        [&] {
            kelTime time(5);
            time = moment;
            return time;
        },
        [] { return kelTime(1000, 0, 0, 0, 1, 0, 70, 0, 0, 0, 0); },
        [] {
            kelTime time(1000);
            time.MakeLocalTime();
            return time;
        },
        [] {
            kelTime time(1000);
            time.MakeCurrentTime();
            return time;
        },
    };
    for (const auto& way : ways) {
        WalkFaults("a conversion", FaultSource::Runtime, [&] {
            const kelTime time = UnderFaults(way);
            zuString text = "unchanged";
            if (time.GetNumericEpochTime() != -1) {
                EXPECT_GE(time.GetNumericEpochTime(), 1000);
                return Outcome::Succeeded;
            }
            EXPECT_EQ(time.GetFormatTime(text, "%Y"), kelStatusFailed);
            EXPECT_EQ(text, "unchanged");
            return Outcome::Failed;
        });
    }
    for (const char* const pattern : {"%Y", ""}) {
        WalkFaults("GetFormatTime", FaultSource::Runtime, [&] {
            zuString text = "unchanged";
            const int status = UnderFaults([&] { return moment.GetFormatTime(text, pattern); });
            EXPECT_EQ(text, status == kelStatusFailed ? "unchanged"
                            : *pattern == '\0'        ? ""
                                                      : "1970");
            return OutcomeOf(status);
        });
    }
    WalkFaults("GetFormatTime", FaultSource::Memory, [&] {
        zuString text = "unchanged";
        return OutcomeOf(UnderFaults(
            [&] { return moment.GetFormatTime(text, "a pattern too long to be kept in place"); }));
    });
}

TEST(SystemFaults, WithoutARuntime_ObjectsFailSoundly) {
    const TemporaryDirectory directory;
    const int users = RuntimeUsers();
    for (const int failing : {1, 2}) {  // the start itself, then the pool
        const Faults fault(FaultSource::Runtime, failing, FaultReach::Once);
        UnderFaults([&] {
            kelSharedMemory memory;
            EXPECT_TRUE(memory.IsValid());
            EXPECT_EQ(memory.Create(8, directory / "segment"), kelStatusFailed);
            EXPECT_EQ(memory.Attach(directory / "segment"), kelStatusFailed);
            EXPECT_EQ(memory.Remove(directory / "segment"), kelStatusFailed);
            return 0;
        });
        EXPECT_TRUE(fault.Struck());
        const Faults again(FaultSource::Runtime, failing, FaultReach::Once);
        UnderFaults([&] {
            kelAtomic counter;
            EXPECT_EQ(counter.Increment(), 0U) << "the counter needs no pool";
            EXPECT_EQ(counter.Decrement(), 0);
            return 0;
        });
    }
    {
        kelSharedMemory memory;
        kelAtomic counter;
        EXPECT_EQ(RuntimeUsers(), users + 2);
        kelSharedMemory copy(memory);
        memory.Detach();
        EXPECT_EQ(RuntimeUsers(), users + 1) << "an ended object lets the runtime go";
        copy.Remove(directory / "segment");
        EXPECT_EQ(RuntimeUsers(), users + 1);
    }
    EXPECT_EQ(RuntimeUsers(), users);
}

}  // namespace
