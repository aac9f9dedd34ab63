// Segments on Linux: whose they are, what is refused, and which names are removed.

#include <sys/file.h>

#include "linux/Users.h"
#include "platform/linux/SegmentNames.h"

using namespace zukel::test;
using Memory = kelSharedMemory;

namespace {

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
    const std::string path = zukel::platform::SegmentPath(name.c_str()).Text();
};

TEST_F(Segments, AreTheirOwnersAloneUnderEveryMask) {
    // As APR and every version name it.
    EXPECT_STREQ(zukel::platform::SegmentPath("ab").Text(), "/dev/shm/ShM.ce3H80e76fb1");
    const struct {
        mode_t mask;
        int error;  ///< Of a call that changes the permissions.
        int status;
    } rows[] = {{0, EPERM, kOk}, {077, EPERM, kOk}, {0777, 0, kOk}, {0777, EPERM, kFailed}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "umask " << row.mask << ", error " << row.error);
        Memory memory;
        const Guard changed = Failing("fchmod", row.error);
        const mode_t former = umask(row.mask);
        EXPECT_EQ(UnderFaults([&] { return memory.Create(100, name); }), row.status);
        umask(former);
        EXPECT_EQ(Attach(), row.status);
        EXPECT_EQ(row.status == kOk ? ModeOf(path) : 0600U, 0600U);
        EXPECT_EQ(Memory().Remove(name), row.status) << "a failure leaves no name";
    }
    const Guard interrupted = Failing("posix_fallocate", EINTR, 1, 1);
    EXPECT_EQ(UnderFaults([&] { return Memory().Create(100, name); }), kOk);
}

TEST_F(Segments, ThatAreNotWholeOrOfStrangers_AreRefused) {
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
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        fs::remove(path);
        std::ofstream(path, std::ios::binary) << row.bytes;
        fs::permissions(path, fs::perms(row.mode));
        if (row.owner != 0 && chown(path.c_str(), row.owner, row.owner) != 0) {
            continue;  // for root alone
        }
        Memory attached;
        EXPECT_EQ(attached.Attach(name), row.status);
        EXPECT_EQ(attached.GetSize(), row.status == kOk ? row.bytes.size() - 8 : 0U);
    }
}

TEST_F(Segments, WhateverHasTheName_IsRemovedAsFarAsTheSystemLetsIt) {
    const std::string whole = directory.Write("whole", Bytes(108, 108));
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"a pipe", [&] { EXPECT_EQ(mkfifo(path.c_str(), 0600), 0); }},
        {"a link", [&] { fs::create_symlink(whole, path); }},
        {"what cannot be opened", [&] { fs::copy(whole, path), fs::permissions(path, {}); }},
    };
    for (const auto& [what, make] : rows) {
        SCOPED_TRACE(what);
        const Guard user = Unprivileged();
        make();
        EXPECT_EQ(Attach(), kFailed);
        EXPECT_EQ(Memory().Remove(name), kOk);
        EXPECT_EQ(fs::symlink_status(path).type(), fs::file_type::not_found);
        EXPECT_EQ(Memory().Remove(name), kFailed) << "there is none";
    }
    EXPECT_TRUE(fs::exists(whole)) << "what the link led to";
    const Guard missing = Failing("open", ENOENT);
    Memory memory;
    ASSERT_EQ(memory.Create(100, name), kOk);
    EXPECT_EQ(UnderFaults([&] { return Memory().Remove(name); }), kFailed);
    EXPECT_EQ(Attach(), kOk) << "made when there was none to be removed";
}

TEST_F(Segments, RemovalsWaitForOneAnotherButNotForAStranger) {
    const auto remove = [&] { return Memory().Remove(name); };
    const struct {
        const char* whose;
        uid_t owner;
        int locked, unlocked;  ///< What a removal returns while another holds the lock, and then.
    } rows[] = {{"one's own", geteuid(), kFailed, kOk}, {"a stranger's", kNobody, kOk, kFailed}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.whose);
        std::ofstream(path) << "whatever";
        if (chown(path.c_str(), row.owner, static_cast<gid_t>(-1)) != 0) {
            continue;  // for root alone
        }
        const int lock = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        EXPECT_EQ(flock(lock, LOCK_EX), 0) << "as one does that stops in a removal";
        EXPECT_EQ(remove(), row.locked);
        close(lock);
        int copy = -1;  // of the descriptor, which gets the number of the lock; as a fork makes it
        {
            const Guard copied = AtCall("unlink", [&] { return copy = dup(lock), EPERM; });
            EXPECT_EQ(UnderFaults(remove), kFailed);
        }
        EXPECT_EQ(remove(), row.unlocked);
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
            ASSERT_THAT(Statuses({owner.Create(100, name), attached.Attach(name)}), Each(kOk));
            std::thread rival;
            int waits = 50;
            std::atomic<bool> created{false};
            const auto replace = [&] {
                Memory().Remove(name);
                created = next.Create(50, name) == kOk;
            };
            {
                const Guard during = AtCall(before.c_str(), [&] {
                    rival = rival.joinable() ? std::move(rival) : std::thread(replace);
                    for (; waits > 0 && !created; --waits) {  // for a lock, in vain
                        std::this_thread::sleep_for(std::chrono::milliseconds(1));
                    }
                    return before == "posix_fallocate" ? ENOSPC : 0;
                });
                UnderFaults([&] { return end.call(end.owner ? owner : attached, name); });
            }
            if (rival.joinable()) {
                rival.join();
                const bool takesAny = end.what + before == "Removeopen";
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
        ASSERT_THAT(Statuses({owner.Create(100, name), attached.Attach(name)}), Each(kOk));
        InForkedCopy([&] { end.call(end.owner ? owner : attached, name); });
        EXPECT_EQ(Attach(), &end == kEnds ? kOk : kFailed) << "what is asked for is done";
    }
    Memory empty;
    InForkedCopy([&] { empty.Create(100, name), empty = Memory(); });
    EXPECT_EQ(Attach(), kFailed) << "made by the copy itself";
}

}  // namespace
