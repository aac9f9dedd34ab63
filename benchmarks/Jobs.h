#pragma once

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "Common.h"
#include "Work.h"

/// Whether a file class has operations for values, `ReadValue` and `WriteValue`, besides `Read` and
/// `Write` of bytes.
template <typename File, typename = void>
constexpr bool kTyped = false;
template <typename File>
constexpr bool kTyped<File, std::void_t<decltype(&File::ReadValue)>> = true;

/// The jobs that one library takes part in. Each function takes the library's own call or class and
/// registers the job under the name JOB/COLUMN, with /CASE where a job has several: so that all
/// libraries do the same. A call that returns false ends the program.
class Jobs {
public:
    /// @param column the column of the report. "std.fstream" and "std.stdio" are two ways of the
    /// column std, of which the faster counts; "zukelCold" is a row of its own (see report.py).
    /// @param keep makes what lives while a job runs.
    explicit Jobs(std::string column, std::shared_ptr<void> (*keep)() = nullptr)
        : column_(std::move(column)), keep_(keep) {}

    template <typename Run>
    auto* Add(const std::string& job, Run run, const std::string& which = "") const {
        const std::string name = job + '/' + column_ + (which.empty() ? "" : '/' + which);
        return benchmark::RegisterBenchmark(
            name.c_str(), [run, keep = keep_](benchmark::State& state) {
                const std::shared_ptr<void> kept = keep != nullptr ? keep() : nullptr;
                run(state);
            });
    }

    template <typename Call>
    const Jobs& Repeat(const std::string& job, Call call, const std::string& which = "") const {
        Add(job, Repeated(call), which);
        return *this;
    }

    /// `call` with what `make` has made before.
    template <typename Make, typename Call>
    const Jobs& With(const std::string& job, Make make, Call call) const {
        Add(job, [=](benchmark::State& state) {
            auto made = make();
            Repeated([&] { return call(made); })(state);
        });
        return *this;
    }

    // Files. A class of files is made from a name and has Read, Write or Line.

    template <typename File>
    const Jobs& OpenClose() const {
        return Repeat("OpenClose", [] { File file(Work::Get().Small()); });
    }
    template <typename File>
    const Jobs& CreateWriteClose() const {
        return Repeat("CreateWriteClose",
                      [] { File(Work::Get().Target()).Write(kText.data(), kText.size()); });
    }
    template <typename File>
    const Jobs& ReadUnbuffered() const {
        return Repeat("Read64MiBInBlocks", [] { ReadAll<File>(Work::Get().Large(), 65536); });
    }
    template <typename File>
    const Jobs& ReadBuffered() const {
        Repeat("ReadMillionValues", [] {
            File file(Work::Get().Large());
            int value = 0;
            for (int count = 0; count < Work::kValues; ++count) {
                if constexpr (kTyped<File>) {
                    file.ReadValue(value);
                } else {
                    file.Read(reinterpret_cast<char*>(&value), sizeof value);
                }
                benchmark::DoNotOptimize(value);
            }
        });
        const auto add = [this](Work& (*place)(), std::size_t size, const std::string& which) {
            Repeat(
                "ReadBufferedBlocks", [=] { ReadAll<File>(place().SixteenMiB(), size); }, which);
        };
        add(Work::Get, 1000, "1000");
        add(Work::Get, 65536, "65536");
        add(Work::Disk, 65536, "65536/disk");
        return *this;
    }
    template <typename File>
    const Jobs& WriteBuffered() const {
        Repeat("WriteMillionValues", [] {
            File file(Work::Get().Target());
            for (int value = 0; value < Work::kValues; ++value) {
                if constexpr (kTyped<File>) {
                    file.WriteValue(value);
                } else {
                    file.Write(reinterpret_cast<const char*>(&value), sizeof value);
                }
            }
        });
        const auto write = [](Work& (*place)(), std::size_t size) {
            return [=, block = std::string(size, 'x')] {
                File file(place().Target());
                for (std::size_t left = Work::kSixteenMiB; left >= size; left -= size) {
                    file.Write(block.data(), size);
                }
            };
        };
        Repeat("WriteBufferedBlocks", write(Work::Get, 1000), "1000");
        Repeat("WriteBufferedBlocks", write(Work::Get, 65536), "65536");
        AddOnDisk("WriteBufferedBlocks", write(Work::Disk, 65536), "65536/disk");
        return *this;
    }
    template <typename File>
    const Jobs& ReadLines() const {
        return Repeat("ReadMillionLines", [] { ReadEachLine<File>(Work::Get().Lines()); });
    }
    template <typename File>
    const Jobs& ReadUnbufferedLines() const {
        return Repeat("ReadUnbufferedLines", [] { ReadEachLine<File>(Work::Get().FewLines()); });
    }

    /// Blocks of 4 KiB, at random places of a file that the system has in its cache.
    template <typename File>
    const Jobs& ReadAt() const {
        struct Reader {
            File file{Work::Get().SixteenMiB()};
            std::uint32_t place = 1;
        };
        return With(
            "ReadAt", [] { return Reader(); },
            [](Reader& reader) {
                char block[4096];
                reader.place = reader.place * 1664525 + 1013904223;
                const std::size_t offset = reader.place % (Work::kSixteenMiB - sizeof block);
                MUST(reader.file.ReadAt(offset, block, sizeof block) == sizeof block);
                benchmark::DoNotOptimize(block);
            });
    }

    /// All that files with a buffer do.
    template <typename Reader, typename Writer, typename UnbufferedReader = Reader>
    const Jobs& Streams() const {
        return OpenClose<Reader>()
            .template CreateWriteClose<Writer>()
            .template ReadUnbuffered<UnbufferedReader>()
            .template ReadBuffered<Reader>()
            .template ReadLines<Reader>()
            .template WriteBuffered<Writer>();
    }

    // Names: calls with one or two of them.

    /// Copies over a target that exists; on a disk into a new one as well.
    template <typename Call>
    const Jobs& Copy(Call copy) const {
        const auto add = [&](const char* job, const std::string& (Work::*source)()) {
            const auto call = [=](Work& (*place)()) {
                return [=] { MUST(copy((place().*source)(), place().Target())); };
            };
            Repeat(job, call(Work::Get));
            AddOnDisk(job, call(Work::Disk), "disk");
            Repeat(job, call(Work::Disk), "replaced/disk");
        };
        add("Copy16MiB", &Work::SixteenMiB);
        add("CopySmall", &Work::FourThousand);
        return *this;
    }
    /// There and back again.
    template <typename Call>
    const Jobs& Rename(Call rename) const {
        return Repeat("Rename", [rename] {
            MUST(rename(Work::Get().FourThousand(), Work::Get().Target()));
            MUST(rename(Work::Get().Target(), Work::Get().FourThousand()));
        });
    }
    /// Gives a small file new contents, durably. Not the processor's time alone: it waits for the
    /// disk.
    template <typename Call>
    const Jobs& ReplaceWhole(Call replace) const {
        const auto add = [&](Work& (*place)(), const std::string& which) {
            const auto once = [=, contents = std::string(4000, 'x')] {
                MUST(replace(place().Target(), contents));
            };
            Add(
                "ReplaceWhole",
                [=](benchmark::State& state) {
                    std::ofstream(place().Target()).put('x');
                    Repeated(once)(state);
                },
                which)
                ->UseRealTime();
        };
        add(Work::Get, "");
        add(Work::Disk, "disk");
        return *this;
    }
    template <typename Call>
    const Jobs& DeleteTree(Call remove) const {
        for (const int folders : {1, 100}) {
            Add(
                "DeleteTree",
                [=](benchmark::State& state) {
                    for (auto _ : state) {
                        state.PauseTiming();
                        const std::string tree = Work::Get().MakeTree(folders);
                        state.ResumeTiming();
                        MUST(remove(tree));
                    }
                },
                std::to_string(folders));
        }
        return *this;
    }
    template <typename Call>
    const Jobs& Exists(Call exists) const {
        Repeat("Exists", [exists] { return exists(Work::Get().FourThousand()); });
        return Repeat("ExistsNot", [exists] { return !exists(Work::Get().Missing()); });
    }
    template <typename Call>
    const Jobs& List(Call list) const {
        for (const int entries : {100, 10000, 100000}) {
            Repeat(
                "ListNames", [=] { return list(Work::Get().Directory(entries)); },
                std::to_string(entries));
        }
        return *this;
    }
    template <typename Make, typename Remove>
    const Jobs& MakeAndRemove(Make make, Remove remove) const {
        return Repeat("MakeAndRemove", [=] {
            MUST(make(Work::Get().Levels().front()));
            MUST(remove(Work::Get().Levels().front()));
        });
    }
    template <typename Make, typename Remove>
    const Jobs& MakeFiveLevels(Make make, Remove remove) const {
        return Repeat("MakeFiveLevels", [=] {
            const std::vector<std::string>& levels = Work::Get().Levels();
            MUST(make(levels.back()));
            for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
                MUST(remove(*level));
            }
        });
    }

    // Programs, segments, counters.

    /// Starts a program and waits until it has ended, with so many MiB in use.
    template <typename Call>
    const Jobs& Start(Call run) const {
        for (const std::size_t size : {0UL, 1024UL}) {
            Add(
                "StartUntilEnded",
                [=](benchmark::State& state) {
                    const std::vector<char> memory(size << 20U, 'x');
                    Repeated(run)(state);
                },
                std::to_string(size))
                ->UseRealTime();
        }
        return *this;
    }
    /// Runs /bin/true and collects both of its outputs.
    template <typename Call>
    const Jobs& Run(Call run) const {
        Add("Run", Repeated(run))->UseRealTime();
        return *this;
    }
    /// `share(name, size, attach)` creates a segment, touches all of it, and with `attach` attaches
    /// to it from a second hold.
    template <typename Call>
    const Jobs& Segment(Call share) const {
        const auto add = [&](const char* job, std::size_t size, bool attach) {
            Repeat(
                job,
                [=, name = "zukel-bench-" + column_ + std::to_string(getpid())] {
                    share(name, size, attach);
                },
                std::to_string(size));
        };
        add("Segment", 4000, true);
        add("Segment", 1000000, true);
        add("SegmentTouched", 65536, false);
        add("SegmentTouched", 1048576, false);
        return *this;
    }
    /// Of one object that all threads share.
    template <typename Object, typename Call>
    const Jobs& Counter(Call count) const {
        Add("Counter",
            [count](benchmark::State& state) {
                static Object counter{};
                Repeated([&] { return count(counter); })(state);
            })
            ->Threads(1)
            ->Threads(2)
            ->UseRealTime();
        return *this;
    }

    // Memory, in bytes.

    /// What an object takes that has nothing to do, itself included: of ten thousand of them.
    template <typename Object, typename... Arguments>
    const Jobs& Idle(const std::string& which, Arguments... arguments) const {
        return Bytes("IdleBytes", which, [=] {
            const double before = InUse();
            std::deque<Object> objects;
            for (int number = 0; number < kMany; ++number) {
                objects.emplace_back(arguments...);
            }
            return (InUse() - before) / kMany;
        });
    }
    /// What one object has taken more after `use` has used it ten thousand times.
    template <typename Make, typename Use>
    const Jobs& Growth(const std::string& which, Make make, Use use) const {
        return Bytes("GrowthBytes", which, [=] {
            auto object = make();
            double before = 0;
            for (int number = -100; number < kMany; ++number) {
                before = number == 0 ? InUse() : before;
                use(object);
            }
            return InUse() - before;
        });
    }

private:
    static constexpr int kMany = 10000;

    /// Once before the clock runs, so that what it works on exists.
    template <typename Call>
    static auto Repeated(Call call) {
        return [call](benchmark::State& state) {
            const auto once = [&call] {
                if constexpr (std::is_void_v<decltype(call())>) {
                    call();
                } else if constexpr (std::is_same_v<decltype(call()), bool>) {
                    MUST(call());
                } else {
                    benchmark::DoNotOptimize(call());
                }
            };
            once();
            for (auto _ : state) {
                once();
            }
        };
    }
    /// A call that writes a new target: to cut an old one would wait for what the disk still has to
    /// write of it.
    template <typename Call>
    void AddOnDisk(const std::string& job, Call call, const std::string& which) const {
        Add(
            job,
            [call](benchmark::State& state) {
                call();
                std::filesystem::remove(Work::Disk().Target());
                for (auto _ : state) {
                    call();
                    state.PauseTiming();
                    std::filesystem::remove(Work::Disk().Target());
                    state.ResumeTiming();
                }
            },
            which);
    }
    template <typename File>
    static void ReadAll(const std::string& name, std::size_t size) {
        std::vector<char> block(size);
        File file(name);
        while (file.Read(block.data(), block.size()) == block.size()) {
        }
    }
    template <typename File>
    static void ReadEachLine(const std::string& name) {
        char line[128];
        File file(name);
        int count = 0;
        while (file.Line(line, sizeof line)) {
            ++count;
        }
        MUST(count % 1000 == 0 && count > 0);
    }
    /// The bytes of the process's own memory that are in use: all that is mapped, less what the C
    /// library's allocator has in stock. The runtime's pools are mapped beside that.
    static double InUse() {
        char text[256] = {};
        const int file = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
        MUST(read(file, text, sizeof text - 1) > 0);
        close(file);
        double pages = 0;
        MUST(std::sscanf(text, "%*s %*s %*s %*s %*s %lf", &pages) == 1);
        const struct mallinfo2 info = mallinfo2();
        return pages * static_cast<double>(sysconf(_SC_PAGESIZE)) -
               static_cast<double>(info.arena - info.uordblks);
    }
    template <typename Measure>
    const Jobs& Bytes(const std::string& job, const std::string& which, Measure measure) const {
        Add(
            job,
            [=](benchmark::State& state) {
                for (auto _ : state) {
                    state.counters["bytes"] = measure();
                }
            },
            which)
            ->Iterations(1);
        return *this;
    }

    std::string column_;
    std::shared_ptr<void> (*keep_)();
};

/// What a `keep` makes that keeps a `T`.
template <typename T>
std::shared_ptr<void> Keep() {
    return std::make_shared<T>();
}
