// The jobs by the least that the system offers.

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>

#include "Jobs.h"

namespace {

template <int kMode>
struct File : Unbuffered<File<kMode>> {
    explicit File(const std::string& name) : file(open(name.c_str(), kMode | O_CLOEXEC, 0666)) {
        MUST(file >= 0);
    }
    ~File() { close(file); }
    auto Read(char* to, std::size_t size) { return read(file, to, size); }
    void Write(const char* from, std::size_t size) const { MUST(write(file, from, size) > 0); }
    std::size_t ReadAt(std::size_t offset, char* to, std::size_t size) {
        return static_cast<std::size_t>(pread(file, to, size, static_cast<off_t>(offset)));
    }
    int file;
};
using Reader = File<O_RDONLY>;
using Writer = File<O_WRONLY | O_CREAT | O_TRUNC>;

bool Copy(const std::string& from, const std::string& to) {
    const Reader in(from);
    const Writer out(to);
    ssize_t moved = 0;
    while ((moved = copy_file_range(in.file, nullptr, out.file, nullptr, 1U << 30U, 0)) > 0) {
    }
    return moved == 0;
}
/// A new file in the place of the old one, with the same owner, permissions, access list and
/// attributes, if that is no symbolic link and the caller may write to it: contents and name are on
/// the disk on return.
bool ReplaceWhole(const std::string& name, const std::string& contents) {
    const std::string temporary = name + ".new";
    struct stat facts {};
    MUST(lstat(name.c_str(), &facts) == 0 && S_ISREG(facts.st_mode));
    {
        const File<O_WRONLY | O_CREAT | O_EXCL> made(temporary);
        made.Write(contents.data(), contents.size());
        const Reader former(name);
        MUST(faccessat(AT_FDCWD, name.c_str(), W_OK, AT_EACCESS) == 0 &&
             fstat(former.file, &facts) == 0 && flistxattr(former.file, nullptr, 0) == 0 &&
             fchown(made.file, facts.st_uid, facts.st_gid) == 0 &&
             fchmod(made.file, facts.st_mode & 07777U) == 0 &&
             fgetxattr(made.file, "system.posix_acl_access", nullptr, 0) < 0);
        MUST(fdatasync(made.file) == 0);
    }
    MUST(std::rename(temporary.c_str(), name.c_str()) == 0);
    const File<O_RDONLY | O_DIRECTORY> folder(name.substr(0, name.rfind('/')));
    return fsync(folder.file) == 0;
}
auto ReadNames(DIR* directory) {
    std::vector<std::string> names;
    while (const dirent* const entry = readdir(directory)) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            names.emplace_back(entry->d_name);
        }
    }
    return names;
}

pid_t Start(const posix_spawn_file_actions_t* actions) {
    char program[] = "/bin/true";
    char* const arguments[] = {program, nullptr};
    pid_t pid = -1;
    MUST(posix_spawnp(&pid, program, actions, nullptr, arguments, environ) == 0);
    return pid;
}
/// With a pipe for each output, each read to its end: the program writes little.
void Run() {
    int pipes[2][2];
    posix_spawn_file_actions_t actions;
    MUST(posix_spawn_file_actions_init(&actions) == 0);
    for (int stream = 0; stream < 2; ++stream) {
        MUST(pipe2(pipes[stream], O_CLOEXEC) == 0);
        posix_spawn_file_actions_adddup2(&actions, pipes[stream][1], stream + STDOUT_FILENO);
    }
    const pid_t pid = Start(&actions);
    posix_spawn_file_actions_destroy(&actions);
    for (const auto& ends : pipes) {
        char text[4096];
        close(ends[1]);
        while (read(ends[0], text, sizeof text) > 0) {
        }
        close(ends[0]);
    }
    MUST(waitpid(pid, nullptr, 0) == pid);
}

void Share(const std::string& shortName, std::size_t size, bool attach) {
    const std::string name = "/" + shortName;
    const auto map = [&](int flags) {
        const int file = shm_open(name.c_str(), flags | O_RDWR, 0600);
        MUST(file >= 0);
        struct stat facts {};
        MUST(flags == 0 ? fstat(file, &facts) == 0
                        : ftruncate(file, static_cast<off_t>(size)) == 0);
        void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        close(file);
        MUST(memory != MAP_FAILED);
        return memory;
    };
    void* const owner = map(O_CREAT | O_EXCL);
    Touch(owner, size);
    if (attach) {
        void* const other = map(0);
        benchmark::DoNotOptimize(*static_cast<char*>(other));
        munmap(other, size);
    }
    shm_unlink(name.c_str());
    munmap(owner, size);
}

/// The files that tell all of the memory: the machine, the process, and the limits of its cgroups.
std::vector<std::string> MemoryFiles() {
    std::vector<std::string> files = {"/proc/meminfo", "/proc/self/cgroup", "/proc/self/statm"};
    std::string line;
    for (std::ifstream groups("/proc/self/cgroup"); std::getline(groups, line);) {
        const bool first = line.find(":memory:") != std::string::npos;
        if (first || line.find("0::") == 0) {
            std::string group = line.substr(line.rfind(':') + 1);
            for (; !group.empty(); group.resize(group.rfind('/'))) {
                files.push_back(first ? "/sys/fs/cgroup/memory" + group + "/memory.limit_in_bytes"
                                      : "/sys/fs/cgroup" + group + "/memory.max");
            }
        }
    }
    return files;
}
/// Opens, reads and closes them, without looking at what they say.
void ReadFiles(const std::vector<std::string>& files) {
    for (const std::string& name : files) {
        char text[8192];
        const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC);
        while (read(file, text, sizeof text) > 0) {
        }
        close(file);
        benchmark::DoNotOptimize(text);
    }
}

const bool kAdded = [] {
    const Jobs jobs("system");
    jobs.Plain<Reader, Writer>();
    jobs.ReadAt<Reader>();
    jobs.Copy(Copy);
    jobs.Rename([](auto& from, auto& to) { return std::rename(from.c_str(), to.c_str()); });
    jobs.ReplaceWhole(ReplaceWhole);
    jobs.Exists([](auto& name) {
        struct stat status {};
        return stat(name.c_str(), &status) == 0;
    });
    jobs.List([](auto& name) {
        DIR* const directory = opendir(name.c_str());
        auto names = ReadNames(directory);
        closedir(directory);
        return names;
    });
    jobs.MakeAndRemove([](auto& path) { return mkdir(path.c_str(), 0777); },
                       [](auto& path) { return rmdir(path.c_str()); });
    jobs.Repeat("FileFacts", [] {
        struct stat info {};
        return lstat(kKnownFile, &info) == 0;
    });
    jobs.Repeat("SetVariable", [] { return setenv("ZUKEL_BENCHMARK_C", "value", 1) == 0; });
    jobs.Start([] {
        const pid_t pid = Start(nullptr);
        MUST(waitpid(pid, nullptr, 0) == pid);
    });
    jobs.Run(Run);
    jobs.Repeat("MonotonicTime", [] {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return now.tv_sec * 1000000 + now.tv_nsec / 1000;
    });
    jobs.Repeat("LoadFindUnload", [] {
        void* const module = dlopen(ZUKEL_BENCHMARK_MODULE, RTLD_NOW | RTLD_GLOBAL);
        MUST(module != nullptr);
        CallAnswer(dlsym(module, "Answer"));
        MUST(dlclose(module) == 0);
    });
    jobs.Segment(Share);
    jobs.With("Memory", MemoryFiles, ReadFiles);
    jobs.Repeat("Disk", [] {
        struct statvfs facts {};
        MUST(statvfs("/tmp", &facts) == 0);
        return facts.f_bavail * facts.f_frsize;
    });
    jobs.Growth(
        "listings", [] { return opendir(Work::Get().Directory(100).c_str()); },
        [](DIR* directory) {
            rewinddir(directory);
            MUST(ReadNames(directory).size() == 100);
        });
    return true;
}();

}  // namespace
