#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "Bodies.h"
#include "Work.h"

/// The jobs that one library takes part in. Each function takes the library's own call or class and
/// registers the job under the name JOB/COLUMN, with /CASE where a job has several: so that all
/// libraries do the same. A call that fails ends the program.
class Jobs {
    // What the calls below are made with.

    using Place = Work& (*)();
    static auto Filled(std::size_t size, Place place = Work::Get) {
        return [=] { return place().Filled(size); };
    }
    static auto Directory(int entries) {
        return [=] { return Work::Get().Directory(entries); };
    }
    template <int kCount>
    static std::string Lines() {
        return Work::Get().Lines(kCount);
    }
    static std::string Target() { return Work::Get().Target(); }
    static std::string Missing() { return Work::Get().Named("missing"); }
    static std::string Made() { return Work::Get().Named("made"); }
    static auto Pair() { return std::pair(Work::Get().Filled(4000), Target()); }
    /// The innermost first.
    static std::vector<std::string> Levels() {
        return {Made() + "/a/b/c/d", Made() + "/a/b/c", Made() + "/a/b", Made() + "/a", Made()};
    }

public:
    using State = benchmark::State;

    /// @param column the column of the report. "std.fstream" and "std.stdio" are two ways of the
    /// column std, of which the faster counts; "zukelCold" is a row of its own (see report.py).
    /// @param keep makes what lives while a job runs.
    explicit Jobs(std::string column, std::shared_ptr<void> (*keep)() = nullptr)
        : column_(std::move(column)), keep_(keep) {}

    template <typename Run>
    auto* Add(const std::string& job, Run run) const {
        const std::size_t end = std::min(job.find('/'), job.size());
        const std::string name = job.substr(0, end) + "/" + column_ + job.substr(end);
        return benchmark::RegisterBenchmark(name.c_str(), [run, keep = keep_](State& state) {
            const std::shared_ptr<void> kept = keep != nullptr ? keep() : nullptr;
            run(state);
        });
    }
    template <typename Call>
    void Repeat(const std::string& job, Call call) const {
        Add(job, [=](State& state) { Loop(state, call); });
    }
    /// `call` with what `make` has made before.
    template <typename Make, typename Call>
    void With(const std::string& job, Make make, Call call) const {
        Add(job, [=](State& state) {
            auto made = make();
            Loop(state, [&] { return call(made); });
        });
    }

    // Files. A class of files is made from a name and has Read, Write or Line.

    template <typename File>
    void OpenClose() const {
        With("OpenClose", Filled(13), [](const auto& name) { File file(name); });
    }
    template <typename File>
    void CreateWriteClose() const {
        With("CreateWriteClose", Target, [](const auto& name) {
            constexpr std::string_view kText = "created, written and closed\n";
            File(name).Write(kText.data(), kText.size());
        });
    }
    template <typename File>
    void ReadUnbuffered() const {
        With("Read64MiBInBlocks", Filled(std::size_t{64} << 20U),
             [](const auto& name) { ReadAll<File>(name, 65536); });
    }
    template <typename File>
    void ReadBuffered() const {
        With("ReadMillionValues", Filled(std::size_t{64} << 20U), ReadValues<File>);
        const auto add = [this](const char* job, Place place, std::size_t size) {
            With(job, Filled(k16MiB, place), [=](const auto& name) { ReadAll<File>(name, size); });
        };
        add("ReadBufferedBlocks/1000", Work::Get, 1000);
        add("ReadBufferedBlocks/65536", Work::Get, 65536);
        add("ReadBufferedBlocks/65536/disk", Work::Disk, 65536);
    }
    template <typename File>
    void WriteBuffered() const {
        With("WriteMillionValues", Target, WriteValues<File>);
        for (const std::size_t size : {std::size_t{1000}, std::size_t{65536}}) {
            With("WriteBufferedBlocks/" + std::to_string(size), Target,
                 [block = std::string(size, 'x')](const auto& name) {
                     WriteAll<File>(name, block);
                 });
        }
        Add("WriteBufferedBlocks/65536/disk", [](State& state) {
            const std::string name = Work::Disk().Target();
            const std::string block(65536, 'x');
            LoopAnew(state, name, [&] { WriteAll<File>(name, block); });
        });
    }
    template <typename File>
    void ReadLines() const {
        With("ReadMillionLines", Lines<kMillion>, ::ReadLines<File>);
    }
    template <typename File>
    void ReadUnbufferedLines() const {
        With("ReadUnbufferedLines", Lines<1000>, ::ReadLines<File>);
    }
    /// Blocks of 4 KiB, at random places of a file that the system has in its cache.
    template <typename File>
    void ReadAt() const {
        Add("ReadAt", [](State& state) {
            File file(Work::Get().Filled(k16MiB));
            std::uint32_t place = 1;
            Loop(state, [&] {
                char block[4096];
                place = place * 1664525 + 1013904223;
                MUST(file.ReadAt(place % (k16MiB - sizeof block), block, sizeof block) ==
                     sizeof block);
                benchmark::DoNotOptimize(block);
            });
        });
    }
    /// What files without a buffer do.
    template <typename Reader, typename Writer>
    void Plain() const {
        OpenClose<Reader>();
        CreateWriteClose<Writer>();
        ReadUnbuffered<Reader>();
        ReadUnbufferedLines<Reader>();
    }
    /// What files do only with a buffer.
    template <typename Reader, typename Writer>
    void Buffered() const {
        ReadBuffered<Reader>();
        ReadLines<Reader>();
        WriteBuffered<Writer>();
    }
    /// All that files with a buffer do.
    template <typename Reader, typename Writer, typename UnbufferedReader = Reader>
    void Streams() const {
        OpenClose<Reader>();
        CreateWriteClose<Writer>();
        ReadUnbuffered<UnbufferedReader>();
        Buffered<Reader, Writer>();
    }

    // Names: calls with one or two of them, as MustDo makes them.

    /// Copies over a target that exists; on a disk into a new one as well.
    template <typename Call>
    void Copy(Call copy) const {
        const auto add = [=](const std::string& job, std::size_t size, Place place, bool anew) {
            Add(job, [=](State& state) {
                const std::string from = place().Filled(size);
                const std::string to = place().Target();
                const auto once = [&] { MustDo(copy, from, to); };
                anew ? LoopAnew(state, to, once) : Loop(state, once);
            });
        };
        for (const auto& [job, size] : {std::pair("Copy16MiB", k16MiB), {"CopySmall", 4000}}) {
            add(job, size, Work::Get, false);
            add(job + std::string("/disk"), size, Work::Disk, true);
            add(job + std::string("/replaced/disk"), size, Work::Disk, false);
        }
    }
    /// There and back again.
    template <typename Call>
    void Rename(Call rename) const {
        With("Rename", Pair, [=](const auto& names) {
            MustDo(rename, names.first, names.second);
            MustDo(rename, names.second, names.first);
        });
    }
    /// Gives a small file new contents, durably. Not the processor's time alone: it waits for the
    /// disk.
    template <typename Call>
    void ReplaceWhole(Call replace) const {
        const auto run = [=](Place place) {
            return [=](State& state) {
                const std::string target = place().Target();
                const std::string contents(4000, 'x');
                std::ofstream(target).put('x');
                Loop(state, [&] { MustDo(replace, target, contents); });
            };
        };
        Add("ReplaceWhole", run(Work::Get))->UseRealTime();
        Add("ReplaceWhole/disk", run(Work::Disk))->UseRealTime();
    }
    template <typename Call>
    void DeleteTree(Call remove) const {
        for (const int folders : {1, 100}) {
            Add("DeleteTree/" + std::to_string(folders), [=](State& state) {
                for (auto _ : state) {
                    state.PauseTiming();
                    const std::string tree = Work::Get().MakeTree(folders);
                    state.ResumeTiming();
                    MustDo(remove, tree);
                }
            });
        }
    }
    template <typename Call>
    void Exists(Call exists) const {
        With("Exists", Filled(4000), exists);
        With("ExistsNot", Missing, [=](const auto& name) { return !exists(name); });
    }
    template <typename Call>
    void List(Call list) const {
        for (const int entries : {100, 10000, 100000}) {
            With("ListNames/" + std::to_string(entries), Directory(entries), list);
        }
    }
    template <typename Make, typename Remove>
    void MakeAndRemove(Make make, Remove remove) const {
        With("MakeAndRemove", Made, [=](const auto& name) {
            MustDo(make, name);
            MustDo(remove, name);
        });
    }
    /// With `makeAll`, which makes those above it as well.
    template <typename Make, typename MakeAll, typename Remove>
    void Directories(Make make, MakeAll makeAll, Remove remove) const {
        MakeAndRemove(make, remove);
        With("MakeFiveLevels", Levels, [=](const auto& levels) {
            MustDo(makeAll, levels.front());
            for (const std::string& level : levels) {
                MustDo(remove, level);
            }
        });
    }

    // Programs, segments, counters.

    /// Starts a program and waits until it has ended, with so many MiB in use.
    template <typename Call>
    void Start(Call run) const {
        for (const std::size_t size : {std::size_t{0}, std::size_t{1024}}) {
            Add("StartUntilEnded/" + std::to_string(size), [=](State& state) {
                const std::vector<char> memory(size << 20U, 'x');
                Loop(state, run);
            })->UseRealTime();
        }
    }
    /// Runs /bin/true and collects both of its outputs.
    template <typename Call>
    void Run(Call run) const {
        Add("Run", [=](State& state) { Loop(state, run); })->UseRealTime();
    }
    /// `share(name, size, attach)` creates a segment, touches all of it, and with `attach` attaches
    /// to it from a second hold.
    template <typename Call>
    void Segment(Call share) const {
        const auto add = [&](const std::string& job, std::size_t size, bool attach) {
            const std::string name = "zukel-bench-" + column_ + std::to_string(getpid());
            Repeat(job + std::to_string(size), [=] { share(name, size, attach); });
        };
        add("Segment/", 4000, true);
        add("Segment/", 1000000, true);
        add("SegmentTouched/", 65536, false);
        add("SegmentTouched/", 1048576, false);
    }
    /// Of one object that all threads share.
    template <typename Object, typename Call>
    void Counter(Call count) const {
        Add("Counter",
            [=](State& state) {
                static Object counter{};
                Loop(state, [&] { return count(counter); });
            })
            ->Threads(1)
            ->Threads(2)
            ->UseRealTime();
    }

    // Memory, in bytes.

    template <typename Object, typename... Arguments>
    void Idle(const std::string& which, Arguments... arguments) const {
        Bytes("IdleBytes/" + which, [=] { return IdleBytes<Object>(arguments...); });
    }
    template <typename Make, typename Use>
    void Growth(const std::string& which, Make make, Use use) const {
        Bytes("GrowthBytes/" + which, [=] { return GrowthBytes(make, use); });
    }

private:
    static constexpr std::size_t k16MiB = std::size_t{16} << 20U;

    template <typename Measure>
    void Bytes(const std::string& job, Measure measure) const {
        Add(job, [=](State& state) {
            for (auto _ : state) {
                state.counters["bytes"] = measure();
            }
        })->Iterations(1);
    }

    std::string column_;
    std::shared_ptr<void> (*keep_)();
};

/// What makes a `T`: before a job, and for it.
template <typename T, typename... Arguments>
auto Make(Arguments... arguments) {
    return [=] { return T(arguments...); };
}
/// What a `keep` makes that keeps a `T`.
template <typename T>
std::shared_ptr<void> Keep() {
    return std::make_shared<T>();
}
