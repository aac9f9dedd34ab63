// Segments on Linux: whose they are, what is refused, and which names are removed.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

#include "linux/Users.h"
#include "support/Faults.h"

using namespace zukel::test;
using Memory = kelSharedMemory;

namespace {

/// The file behind a segment: what is mapped at its address.
std::string PathOf(const Memory& memory) {
    std::ifstream maps("/proc/self/maps");
    const auto base = reinterpret_cast<std::uintptr_t>(memory.GetBaseAddress()) - 8;
    for (std::string line; std::getline(maps, line);) {
        if (std::stoull(line, nullptr, 16) == base) {
            return line.substr(line.find('/'));
        }
    }
    return "nothing is mapped";
}

/// The bytes of a segment file that says of itself that it has `whole` bytes.
std::string Bytes(std::uint64_t whole, std::size_t size) {
    std::string bytes(std::max(size, sizeof whole), '\0');
    std::memcpy(bytes.data(), &whole, sizeof whole);
    return bytes.substr(0, size);
}

struct Segments : InDirectory {
    ~Segments() override { Memory().Remove(name); }

    int Attach() const { return Memory().Attach(name); }

    const std::string name = directory / "segment";
};

TEST_F(Segments, AreTheirOwnersAloneUnderEveryMask) {
    const struct {
        mode_t mask;
        int error;  ///< Of a call that changes the permissions.
        int status;
    } rows[] = {{0, EPERM, kOk}, {077, EPERM, kOk}, {0777, 0, kOk}, {0777, EPERM, kFailed}};
    for (const auto& [mask, error, status] : rows) {
        SCOPED_TRACE(mask);
        Memory memory;
        int signals = 1;  // that come in between
        const Guard reserved = AtCall("posix_fallocate", [&] { return signals-- > 0 ? EINTR : 0; });
        EXPECT_EQ(UnderFaults([&] { return memory.Create(100, name + "interrupted"); }), kOk);
        Memory other;
        const Guard changed = AtCall("fchmod", [error = error] { return error; });
        const mode_t former = umask(mask);
        EXPECT_EQ(UnderFaults([&] { return other.Create(100, name); }), status);
        umask(former);
        EXPECT_EQ(Attach(), status);
        if (status == kOk) {
            EXPECT_EQ(ModeOf(PathOf(other)), 0600U);
        }
        EXPECT_EQ(Memory().Remove(name), status) << "a failure leaves no name";
    }
}

TEST_F(Segments, ThatAreNotWholeOrOfStrangers_AreRefused) {
    Memory memory;
    ASSERT_EQ(memory.Create(100, name), kOk);
    const std::string path = PathOf(memory);
    const struct {
        const char* what;
        std::string bytes;
        mode_t mode;
        uid_t owner;
        int status;
    } rows[] = {
        {"whole", Bytes(108, 108), 0600, 0, kOk},
        {"the least", Bytes(8, 8), 0600, 0, kOk},
        {"that others read", Bytes(108, 108), 0644, 0, kOk},
        {"empty", "", 0600, 0, kFailed},
        {"without its whole word", Bytes(7, 7), 0600, 0, kFailed},
        {"of size zero", Bytes(0, 108), 0600, 0, kFailed},
        {"less than its word", Bytes(7, 8), 0600, 0, kFailed},
        {"of every size", Bytes(~0ULL, 108), 0600, 0, kFailed},
        {"cut", Bytes(108, 107), 0600, 0, kFailed},
        {"cut to the word", Bytes(108, 8), 0600, 0, kFailed},
        {"lengthened", Bytes(108, 109), 0600, 0, kFailed},
        {"that the group writes", Bytes(108, 108), 0620, 0, kFailed},
        {"that others write", Bytes(108, 108), 0602, 0, kFailed},
        {"of a stranger", Bytes(108, 108), 0600, kNobody, kFailed},
        {"of a stranger, for all", Bytes(108, 108), 0666, kNobody, kFailed},
    };
    for (const auto& [what, bytes, mode, owner, status] : rows) {
        SCOPED_TRACE(what);
        fs::remove(path);
        std::ofstream(path, std::ios::binary) << bytes;
        fs::permissions(path, fs::perms(mode));
        if (owner != 0) {
            if (geteuid() != 0) {
                continue;
            }
            ASSERT_EQ(chown(path.c_str(), owner, owner), 0);
        }
        Memory attached;
        EXPECT_EQ(attached.Attach(name), status);
        EXPECT_EQ(attached.GetSize(), status == kOk ? bytes.size() - 8 : 0U);
    }
    fs::remove(path);
}

TEST_F(Segments, WhateverHasTheName_IsRemovedAsFarAsTheSystemLetsIt) {
    Memory memory;
    ASSERT_EQ(memory.Create(100, name), kOk);
    const std::string path = PathOf(memory), whole = directory.Write("whole", Bytes(108, 108));
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"a pipe", [&] { EXPECT_EQ(mkfifo(path.c_str(), 0600), 0); }},
        {"a link", [&] { fs::create_symlink(whole, path); }},
        {"what cannot be opened", [&] { fs::copy(whole, path), fs::permissions(path, {}); }},
    };
    for (const auto& [what, make] : rows) {
        SCOPED_TRACE(what);
        fs::remove(path);
        const Guard user = Unprivileged();
        make();
        EXPECT_EQ(Attach(), kFailed);
        EXPECT_EQ(Memory().Remove(name), kOk);
        EXPECT_FALSE(fs::is_symlink(path) || fs::exists(path));
        EXPECT_EQ(Memory().Remove(name), kFailed) << "there is none";
    }
    EXPECT_TRUE(fs::exists(whole));
    {
        Memory owner;
        const Guard missing = AtCall("open", [] { return ENOENT; });
        EXPECT_EQ(owner.Create(100, name), kOk);
        EXPECT_EQ(UnderFaults([&] { return Memory().Remove(name); }), kFailed);
        EXPECT_EQ(Attach(), kOk) << "made when there was none to be removed";
    }
    for (const uid_t owner : {geteuid(), kNobody}) {
        SCOPED_TRACE(owner);
        fs::copy(whole, path);
        if (owner != geteuid() && (geteuid() != 0 || chown(path.c_str(), owner, owner) != 0)) {
            continue;
        }
        const int locked = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        EXPECT_EQ(flock(locked, LOCK_EX), 0) << "as one does that stops in a removal";
        EXPECT_EQ(Memory().Remove(name), owner == kNobody ? kOk : kFailed);
        EXPECT_EQ(fs::exists(path), owner != kNobody);
        close(locked);
        int copy = -1;  // of the descriptor, as a fork makes it
        {
            const Guard copied = AtCall("unlink", [&] {
                copy = dup(0);
                return dup2(copy - 1, copy), EPERM;
            });
            EXPECT_EQ(UnderFaults([&] { return Memory().Remove(name); }), kFailed);
        }
        EXPECT_EQ(Memory().Remove(name), owner == kNobody ? kFailed : kOk);
        close(copy);
    }
}

/// The ways in which a hold ends, and with it a name.
struct End {
    const char* what;
    bool owner;
    int (*call)(Memory&, const std::string&);
};
const End kEnds[] = {
    {"an owner's end", true, [](Memory& it, auto&) { return it = Memory(), kOk; }},
    {"Destroy", true, [](Memory& it, auto&) { return it.Destroy(); }},
    {"an owner's Detach", true, [](Memory& it, auto&) { return it.Detach(); }},
    {"Detach", false, [](Memory& it, auto&) { return it.Detach(); }},
    {"an attached one's Destroy", false, [](Memory& it, auto&) { return it.Destroy(); }},
};

TEST_F(Segments, WhoseNameAnotherRemoves_LeaveANewOneUnderItAlone) {
    std::vector<End> ends(std::begin(kEnds), std::end(kEnds));
    ends.push_back({"Remove", false, [](Memory& it, auto& its) { return it.Remove(its); }});
    ends.push_back({"a Create without room", true, [](Memory& it, auto& its) {
                        it.Destroy();
                        return Memory().Create(100, its);
                    }});
    for (const End& end : ends) {
        for (const std::string before : {"open", "unlink", "posix_fallocate"}) {
            SCOPED_TRACE(end.what + (", before " + before));
            Memory owner, attached, next;
            ASSERT_EQ(owner.Create(100, name), kOk);
            ASSERT_EQ(attached.Attach(name), kOk);
            std::thread rival;
            std::atomic<bool> created{false};
            {
                const Guard during = AtCall(before.c_str(), [&] {
                    if (!rival.joinable()) {
                        rival = std::thread([&] {
                            Memory().Remove(name);
                            created = next.Create(50, name) == kOk;
                        });
                        for (int wait = 0; wait < 50 && !created; ++wait) {  // for a lock, in vain
                            std::this_thread::sleep_for(std::chrono::milliseconds(1));
                        }
                    }
                    return before == "posix_fallocate" ? ENOSPC : 0;
                });
                UnderFaults([&] { return end.call(end.owner ? owner : attached, name); });
            }
            if (rival.joinable()) {
                rival.join();
                const bool takesAny = end.what == std::string("Remove") && before == "open";
                EXPECT_EQ(Attach(), takesAny ? kFailed : kOk);
            }
        }
    }
}

TEST_F(Segments, LargerThanTheMemory_AreNotEvenTried) {
    for (const char* call : {"mmap", "posix_fallocate"}) {
        int calls = 0;
        const Guard counted = AtCall(call, [&] { return ++calls, 0; });
        for (const unsigned long long size : {1ULL << 41U, ~0ULL >> 1U, ~0ULL - 8, ~0ULL}) {
            EXPECT_EQ(UnderFaults([&] { return Memory().Create(size, name); }), kFailed) << size;
        }
        EXPECT_EQ(calls, 0) << call << " was made";
    }
}

TEST_F(Segments, KeepTheirNamesWhenAForkedCopyLeaves) {
    for (const End& end : kEnds) {
        SCOPED_TRACE(end.what);
        Memory owner, attached;
        ASSERT_EQ(owner.Create(100, name), kOk);
        ASSERT_EQ(attached.Attach(name), kOk);
        InForkedCopy([&] { end.call(end.owner ? owner : attached, name); });
        EXPECT_EQ(Attach(), &end == kEnds ? kOk : kFailed) << "what is asked for is done";
    }
    Memory empty;
    InForkedCopy([&] {
        empty.Create(100, name);
        empty = Memory();
    });
    EXPECT_EQ(Attach(), kFailed) << "made by the copy itself";
}

}  // namespace
