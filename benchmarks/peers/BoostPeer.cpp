// The jobs by Boost: Filesystem, Process, DLL, Interprocess.

#include <boost/atomic.hpp>
#include <boost/dll/shared_library.hpp>
#include <boost/filesystem.hpp>
#include <boost/interprocess/mapped_region.hpp>
#include <boost/interprocess/shared_memory_object.hpp>
#include <boost/process.hpp>

#include "Filesystem.h"

namespace {

namespace fs = boost::filesystem;
namespace bp = boost::process;
namespace ipc = boost::interprocess;

void Share(const std::string& name, std::size_t size, bool attach) {
    ipc::shared_memory_object made(ipc::create_only, name.c_str(), ipc::read_write);
    made.truncate(static_cast<ipc::offset_t>(size));
    const ipc::mapped_region owner(made, ipc::read_write);
    Touch(owner.get_address(), owner.get_size());
    if (attach) {
        const ipc::shared_memory_object seen(ipc::open_only, name.c_str(), ipc::read_write);
        const ipc::mapped_region other(seen, ipc::read_write);
        benchmark::DoNotOptimize(*static_cast<char*>(other.get_address()));
    }
    ipc::shared_memory_object::remove(name.c_str());
}
struct Segment {
    ipc::shared_memory_object object;
    ipc::mapped_region region;
};

const bool kAdded = [] {
    const Jobs jobs("boost");
    AddFilesystem<fs::path, fs::directory_iterator>(jobs, fs::copy_option::overwrite_if_exists);
    jobs.Start([] {
        bp::child child("/bin/true");
        child.wait();
        MUST(child.exit_code() == 0);
    });
    jobs.Run([] {
        bp::ipstream output;
        bp::ipstream errors;
        bp::child child("/bin/true", bp::std_out > output, bp::std_err > errors);
        MUST(output.get() == EOF && errors.get() == EOF);
        child.wait();
        MUST(child.exit_code() == 0);
    });
    jobs.Repeat("LoadFindUnload", [] {
        boost::dll::shared_library module(ZUKEL_BENCHMARK_MODULE,
                                          boost::dll::load_mode::rtld_global);
        benchmark::DoNotOptimize(module.get<long long()>("Answer")());
        module.unload();
    });
    jobs.Segment(Share);
    jobs.Counter<boost::atomic<unsigned>>([](auto& counter) { return counter.fetch_add(1); });
    jobs.Repeat("Disk", [] { return fs::space("/tmp").available; });
    jobs.Idle<boost::atomic<unsigned>>("kelAtomic");
    jobs.Idle<fs::directory_iterator>("kelDirectory");
    jobs.Idle<boost::dll::shared_library>("kelDynamicObject");
    jobs.Idle<fs::directory_entry>("kelFileInfo", kKnownFile);
    jobs.Idle<bp::child>("kelProcess");
    jobs.Idle<Segment>("kelSharedMemory");
    return true;
}();

}  // namespace
