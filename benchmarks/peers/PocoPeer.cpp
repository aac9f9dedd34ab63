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

const bool kAdded = [] {
    const Jobs jobs("poco");
    jobs.Streams<Reader, Writer>();
    jobs.Copy([](auto& from, auto& to) { Poco::File(from).copyTo(to); });
    jobs.Rename([](auto& from, auto& to) { Poco::File(from).renameTo(to); });
    jobs.Exists([](auto& name) { return Poco::File(name).exists(); });
    jobs.List([](auto& directory) {
        std::vector<std::string> names;
        Poco::File(directory).list(names);
        return names;
    });
    jobs.Directories([](auto& path) { return Poco::File(path).createDirectory(); },
                     [](auto& path) { Poco::File(path).createDirectories(); },
                     [](auto& path) { Poco::File(path).remove(); });
    jobs.DeleteTree([](auto& path) { Poco::File(path).remove(true); });
    jobs.Repeat("FileFacts", [] {
        const Poco::File file(kKnownFile);
        Use(file.getSize(), file.isFile(), file.getLastModified());
    });
    jobs.With("NormalizePath", Make<std::string>(kLongPath),
              [](auto& path) { return Poco::Path(path).toString(); });
    jobs.With("ThreeNameParts", Make<Poco::Path>(kLongPath), [](const Poco::Path& path) {
        Use(path.parent().toString(), path.getFileName(), path.getBaseName());
    });
    jobs.Repeat("ReadVariable", [] { return Poco::Environment::get("PATH"); });
    jobs.Repeat("SetVariable", [] { Poco::Environment::set("ZUKEL_BENCHMARK_POCO", "value"); });
    jobs.Start([] { return Poco::Process::launch("/bin/true", {}).wait() == 0; });
    jobs.Run([] {
        Poco::Pipe output;
        Poco::Pipe errors;
        const auto child = Poco::Process::launch("/bin/true", {}, nullptr, &output, &errors);
        MUST(Poco::PipeInputStream(output).get() == EOF);
        MUST(Poco::PipeInputStream(errors).get() == EOF);
        MUST(child.wait() == 0);
    });
    jobs.Repeat("MonotonicTime", [] { return Poco::Clock().microseconds(); });
    jobs.Repeat("LoadFindUnload", [] {
        Poco::SharedLibrary module(ZUKEL_BENCHMARK_MODULE);
        CallAnswer(module.getSymbol("Answer"));
        module.unload();
    });
    jobs.Segment(Share);
    jobs.With("Format", Make<Poco::Timestamp>(), [](const Poco::Timestamp& time) {
        return Poco::DateTimeFormatter::format(time, kPattern);
    });
    jobs.Counter<Poco::AtomicCounter>([](auto& counter) { return static_cast<int>(++counter); });
    jobs.Repeat("Disk", [] { return Poco::File("/tmp").usableSpace(); });
    jobs.Repeat("IdleObject", [] { const Poco::FileStream file; });
    jobs.Idle<Poco::AtomicCounter>("kelAtomic");
    jobs.Idle<Poco::DirectoryIterator>("kelDirectory");
    jobs.Idle<Poco::SharedLibrary>("kelDynamicObject");
    jobs.Idle<Poco::FileStream>("kelFile");
    jobs.Idle<Poco::File>("kelFileInfo", kKnownFile);
    jobs.Idle<Poco::SharedMemory>("kelSharedMemory");
    jobs.Idle<Poco::DateTime>("kelTime");
    jobs.Growth(
        "openings", [] { return std::make_unique<Poco::FileInputStream>(); },
        [](const std::unique_ptr<Poco::FileInputStream>& file) {
            file->open(kKnownFile, std::ios::in);
            MUST(file->get() > 0);
            file->close();
        });
    jobs.Growth(
        "listings", [] { return Poco::File(Work::Get().Directory(100)); },
        [](const Poco::File& directory) {
            std::vector<std::string> names;
            directory.list(names);
            MUST(names.size() == 100);
        });
    return true;
}();

}  // namespace
