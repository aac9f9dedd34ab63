// Segments on Linux: whose they are, what is refused, and which names are removed.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "linux/Users.h"
#include "support/Faults.h"

using namespace zukel::test;

namespace {

TEST(Linux, Segments_AreTheirOwnersAloneAndHalfMadeOnesAreRefused) {
    const TemporaryDirectory directory;
    kelSharedMemory memory;
    int signals = 1;  // that come in between
    const Guard reserved = AtCall("posix_fallocate", [&] { return signals-- > 0 ? EINTR : 0; });
    const mode_t former = umask(0777);
    EXPECT_EQ(UnderFaults([&] { return memory.Create(100, directory / "segment"); }), kOk);
    umask(former);
    std::string path;  // that is mapped at its address
    std::ifstream maps("/proc/self/maps");
    const auto base = reinterpret_cast<std::uintptr_t>(memory.GetBaseAddress()) - 8;
    for (std::string line; std::getline(maps, line);) {
        path = std::stoull(line, nullptr, 16) == base ? line.substr(line.find('/')) : path;
    }
    ASSERT_EQ(ModeOf(path), 0600U) << path;
    const std::string zero(7, '\0'), ones(8, '\xff');
    for (const std::string& content : {std::string(), zero, '\x7' + zero, ones + ones}) {
        fs::remove(path);
        std::ofstream(path, std::ios::binary) << content;
        EXPECT_EQ(kelSharedMemory().Attach(directory / "segment"), kFailed) << content;
    }
    EXPECT_EQ(kelSharedMemory().Remove(directory / "segment"), kOk);
}

}  // namespace
