// The jobs by POCO's Foundation.

#include <Poco/AtomicCounter.h>
#include <Poco/Clock.h>
#include <Poco/DateTime.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/DirectoryIterator.h>
#include <Poco/Environment.h>
#include <Poco/File.h>
#include <Poco/FileStream.h>
#include <Poco/Path.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <Poco/SharedLibrary.h>
#include <Poco/SharedMemory.h>
#include <Poco/Timestamp.h>

#include "Jobs.h"

namespace {

using Reader = StreamFile<Poco::FileInputStream>;
using Writer = StreamFile<Poco::FileOutputStream>;

void Share(const std::string& name, std::size_t size, bool attach) {
    const Poco::SharedMemory owner(name, size, Poco::SharedMemory::AM_WRITE);
    Touch(owner.begin(), size);
    if (attach) {
        const Poco::SharedMemory other(name, size, Poco::SharedMemory::AM_WRITE, nullptr, false);
        benchmark::DoNotOptimize(*other.begin());
    }
}

const Jobs kJobs =
    Jobs("poco")
        .Streams<Reader, Writer>()
        .Copy([](auto& from, auto& to) { Poco::File(from).copyTo(to); })
        .Rename([](auto& from, auto& to) { Poco::File(from).renameTo(to); })
        .Exists([](auto& name) { return Poco::File(name).exists(); })
        .List([](auto& directory) {
            std::vector<std::string> names;
            Poco::File(directory).list(names);
            return names;
        })
        .MakeAndRemove([](auto& path) { return Poco::File(path).createDirectory(); },
                       [](auto& path) { Poco::File(path).remove(); })
        .MakeFiveLevels([](auto& path) { Poco::File(path).createDirectories(); },
                        [](auto& path) { Poco::File(path).remove(); })
        .DeleteTree([](auto& path) { Poco::File(path).remove(true); })
        .Repeat("FileFacts",
                [] {
                    const Poco::File file(kKnownFile);
                    benchmark::DoNotOptimize(file.getSize());
                    benchmark::DoNotOptimize(file.isFile());
                    benchmark::DoNotOptimize(file.getLastModified());
                })
        .With(
            "NormalizePath", [] { return std::string(kLongPath); },
            [](auto& path) { return Poco::Path(path).toString(); })
        .With(
            "ThreeNameParts", [] { return Poco::Path(kLongPath); },
            [](const Poco::Path& path) {
                benchmark::DoNotOptimize(path.parent().toString());
                benchmark::DoNotOptimize(path.getFileName());
                benchmark::DoNotOptimize(path.getBaseName());
            })
        .Repeat("ReadVariable", [] { return Poco::Environment::get("PATH"); })
        .Repeat("SetVariable", [] { Poco::Environment::set("ZUKEL_BENCHMARK_POCO", "value"); })
        .Start([] { return Poco::Process::launch("/bin/true", {}).wait() == 0; })
        .Run([] {
            Poco::Pipe output;
            Poco::Pipe errors;
            const auto child = Poco::Process::launch("/bin/true", {}, nullptr, &output, &errors);
            MUST(Poco::PipeInputStream(output).get() == EOF);
            MUST(Poco::PipeInputStream(errors).get() == EOF);
            MUST(child.wait() == 0);
        })
        .Repeat("MonotonicTime", [] { return Poco::Clock().microseconds(); })
        .Repeat("LoadFindUnload",
                [] {
                    Poco::SharedLibrary module(ZUKEL_BENCHMARK_MODULE);
                    CallAnswer(module.getSymbol("Answer"));
                    module.unload();
                })
        .Segment(Share)
        .With(
            "Format", [] { return Poco::Timestamp(); },
            [](const Poco::Timestamp& time) {
                return Poco::DateTimeFormatter::format(time, kPattern);
            })
        .Counter<Poco::AtomicCounter>([](auto& counter) { return static_cast<int>(++counter); })
        .Repeat("Disk", [] { return Poco::File("/tmp").usableSpace(); })
        .Repeat("IdleObject", [] { const Poco::FileStream file; })
        .Idle<Poco::AtomicCounter>("kelAtomic")
        .Idle<Poco::DirectoryIterator>("kelDirectory")
        .Idle<Poco::SharedLibrary>("kelDynamicObject")
        .Idle<Poco::FileStream>("kelFile")
        .Idle<Poco::File>("kelFileInfo", kKnownFile)
        .Idle<Poco::SharedMemory>("kelSharedMemory")
        .Idle<Poco::DateTime>("kelTime")
        .Growth(
            "openings", [] { return std::make_unique<Poco::FileInputStream>(); },
            [](const std::unique_ptr<Poco::FileInputStream>& file) {
                file->open(kKnownFile, std::ios::in);
                MUST(file->get() > 0);
                file->close();
            })
        .Growth(
            "listings", [] { return Poco::File(Work::Get().Directory(100)); },
            [](const Poco::File& directory) {
                std::vector<std::string> names;
                directory.list(names);
                MUST(names.size() == 100);
            });

}  // namespace
