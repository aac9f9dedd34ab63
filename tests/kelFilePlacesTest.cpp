#include "support/Testing.h"

using namespace zukel::test;
using kelFilePlacesTest = InDirectory;

/// Bytes of a file through `ReadAt`; "failed" when it fails.
static std::string At(kelFile& file, long long offset, unsigned long long size) {
    std::string bytes(size, '?');
    const int status = file.ReadAt(offset, bytes.data(), size);
    return status == kOk ? bytes.substr(0, size) : "failed";
}

static int Put(kelFile& file, long long offset, const std::string& bytes) {
    unsigned long long size = bytes.size();
    const int status = file.WriteAt(offset, bytes.data(), size);
    EXPECT_EQ(size, status == kOk ? bytes.size() : 0);
    return status;
}

TEST_F(kelFilePlacesTest, Lengths_AreBeyondFourGigabytesAndNeverNegative) {
    kelFile file(directory.Write("file", "0123456789"), kReadWrite);
    long long length = -1;
    EXPECT_THAT(Statuses({file.SetLength(5'000'000'000LL), file.GetLength(length)}), Each(kOk));
    EXPECT_EQ(length, 5'000'000'000LL);
    EXPECT_THAT(Statuses({file.SetLength(-1), Put(file, -1, "x")}), Each(kFailed));
    EXPECT_EQ(At(file, -1, 5), "failed");
    EXPECT_THAT(Statuses({Put(file, 4'999'999'999LL, "x"), file.SetLength(4)}), Each(kOk));
    EXPECT_EQ(ReadWhole("file"), "0123");
}

TEST_F(kelFilePlacesTest, Lock_BindsOtherObjectsAndEndsWithItsOwnOnly) {
    constexpr auto kShared = kelFile::LockShared, kExclusive = kelFile::LockExclusive;
    const std::string name = directory.Write("file", "abc");
    kelFile one(name, kReadWrite), two(name, kReadWrite), three(name, kReadWrite);
    EXPECT_THAT(Statuses({one.Lock(kShared, 0), two.Lock(kShared, 0)}), Each(kOk));
    EXPECT_EQ(one.Lock(kShared, 0), kFailed) << "one for each object";
    EXPECT_EQ(three.Lock(kExclusive, 0), kelStatusBusy) << "for both";
    EXPECT_EQ(two.Unlock(), kOk);
    EXPECT_EQ(three.Lock(kExclusive, 0), kelStatusBusy) << "for the other";
    EXPECT_EQ(two.Close(), kOk);
    { kelFile passing(name, kReadWrite); }
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(three.Lock(kExclusive, 60'000), kelStatusBusy) << "a close of others ends nothing";
    EXPECT_GE(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(45));
    EXPECT_EQ(At(three, 0, 3), "abc") << "who does not ask is not hindered";
    EXPECT_EQ(one.Close(), kOk);
    EXPECT_THAT(Statuses({three.Lock(kExclusive, 0), three.Unlock(), three.Lock(kExclusive, 0)}),
                Each(kOk));
}

TEST_F(kelFilePlacesTest, Lock_IsHeldByProcessesAndEndsWithThem) {
    for (const long long patience : {-1LL, 20'000'000LL}) {
        SCOPED_TRACE(patience);
        const std::string name = directory.Write("file");
        kelFile file(name, kReadWrite);
        kelProcess holder;
        ASSERT_EQ(holder.Start(ZUKEL_TEST_CHILD, {"lock", name}, false), kOk);
        EXPECT_TRUE(Eventually([&] {
            const bool busy = file.Lock(kelFile::LockExclusive, 0) == kelStatusBusy;
            file.Unlock();
            return busy;
        }));
        std::thread killer([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            EXPECT_EQ(kelProcess::NativeKill(holder.GetPid()), kOk);
        });
        EXPECT_EQ(file.Lock(kelFile::LockExclusive, patience), kOk);
        killer.join();
        EXPECT_TRUE(Ends(holder));
    }
}

TEST_F(kelFilePlacesTest, Threads_OfOneObjectMeetTheirOwnPlaces) {
    constexpr int kThreads = 4, kRounds = 500, kBlock = 512;
    kelFile file(directory.Write("file", "0123456789"), kReadWrite);
    EXPECT_EQ(file.SeekTo(3), kOk);
    InThreads(kThreads, [&](int number) {
        for (int round = 0; round < kRounds; ++round) {
            const long long place = 10 + kBlock * (round % 7 * kThreads + number);
            const std::string bytes(kBlock, static_cast<char>('a' + (round + number) % 26));
            ASSERT_EQ(Put(file, place, bytes), kOk) << place;
            ASSERT_EQ(At(file, place, kBlock), bytes) << place;
        }
    });
    char byte = 0;
    EXPECT_EQ(file.Read(byte), kOk);
    EXPECT_EQ(byte, '3') << "no position was moved";
}
