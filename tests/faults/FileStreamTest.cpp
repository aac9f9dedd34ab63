// What an open file asks of the system, and what becomes of it in a forked copy.

#include "linux/Users.h"

using namespace zukel::test;
using FileStream = InDirectory;

TEST_F(FileStream, LinesAndWholeFiles_CostFewCalls) {
    std::string lines;
    for (int line = 0; line < 100; ++line) {
        lines += "a line of some length\n";
    }
    directory.Write("lines", lines), directory.Write("large", Noise(100000));
    kelFile in("lines", kRead), out("out", kWrite | kBuffered);
    char text[200];
    zuString whole;
    const Guard counts = Arm({FaultSource::System, 1000000}), all = Counting(true);
    EXPECT_EQ(kelFile::ReadWhole("large", whole), kOk);
    EXPECT_LE(std::exchange(fault.calls, 0), 5) << "ReadWhole";
    for (int line = 0; line < 100; ++line) {
        EXPECT_THAT(Statuses({in.ReadLine(text, sizeof text), out.WriteLine(text)}), Each(kOk));
    }
    EXPECT_LE(fault.calls, 201) << "ReadLine, and WriteLine to a buffer";
}

TEST_F(FileStream, Lines_OfAPipeAreTakenOneByOne) {
    char text[200];
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    const int end = open("pipe", O_RDWR | O_CLOEXEC | O_NONBLOCK);
    const Guard closed([end] { close(end); });
    ASSERT_EQ(write(end, "one\ntwo\n", 8), 8);
    kelFile reading("pipe", kRead), both("pipe", kReadWrite | kBuffered);
    EXPECT_EQ(reading.ReadLine(text, sizeof text), kOk);
    EXPECT_STREQ(text, "one\n");
    EXPECT_EQ(read(end, text, sizeof text), 4) << "for whoever reads next";
    ASSERT_EQ(write(end, "one\ntwo\n", 8), 8);
    EXPECT_THAT(Statuses({both.ReadLine(text, sizeof text), both.Write('x'),  // with lines unread
                          both.ReadLine(text, sizeof text)}),
                Each(kOk));
    EXPECT_STREQ(text, "two\n");
    EXPECT_EQ(read(end, text, sizeof text), 1) << "what was written";
    kelFile status("/proc/self/status", kRead);  // which has no size
    EXPECT_EQ(status.ReadLine(text, sizeof text), kOk);
    EXPECT_EQ(std::string(text, 6), "Name:\t");
}

TEST_F(FileStream, EarlierFiles_StayOpenUntilTheObjectGoes) {
    for (const int mode : {0, int{kelFile::ModeNoCleanup}}) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        const auto before = WhatIsHeld()[3];
        {
            kelFile file("first", kWrite | kelFile::ModeTruncate | kBuffered | mode);
            EXPECT_EQ(file.WriteLine("text"), kOk);
            EXPECT_EQ(file.Open("second", kWrite), kOk);
            EXPECT_EQ(ReadWhole("first"), "");
            EXPECT_EQ(WhatIsHeld()[3], before + 2) << "descriptors";
        }
        EXPECT_EQ(ReadWhole("first"), mode == 0 ? "text" : "");
        EXPECT_EQ(WhatIsHeld()[3], before + (mode == 0 ? 0 : 1)) << "open without clean-up";
    }
}

TEST_F(FileStream, ForkedCopies_LeaveTheEndToTheParent) {
    kelFile file("file", kWrite | kBuffered), locked("locked", kWrite), temporary;
    EXPECT_EQ(file.WriteLine("once"), kOk);
    EXPECT_EQ(locked.Lock(kelFile::LockExclusive, 0), kOk);
    EXPECT_EQ(temporary.CreateTemporaryFile("XXXXXX"), kOk);
    const std::string name = temporary.GetFileName();
    InForkedCopy([&] { file = locked = temporary = kelFile(); });
    EXPECT_EQ(ReadWhole("file"), "");
    EXPECT_EQ(kelFile("locked", kWrite).Lock(kelFile::LockExclusive, 0), kelStatusBusy);
    EXPECT_TRUE(fs::exists(name)) << name;
    file = temporary = kelFile();
    EXPECT_EQ(ReadWhole("file"), "once");
    EXPECT_FALSE(fs::exists(name)) << name;
}

/// What an object has taken when it has been made: users of APR, pools, blocks, descriptors.
template <typename Make>
static std::array<std::intmax_t, 4> CostOf(Make make) {
    auto before = WhatIsHeld();
    const auto object = UnderFaults(make);
    auto after = WhatIsHeld();
    std::transform(after.begin(), after.end(), before.begin(), after.begin(), std::minus<>());
    return after;
}

TEST_F(FileStream, IdleObjectsAreOneBlockAndStartNothing) {
    const std::string name = "f", other = "g";  // within their strings
    directory.Write(name, "x");
    const std::array<std::intmax_t, 4> costs[] = {
        CostOf([] { return kelFile(); }),
        CostOf([] { return kelFileInfo("n"); }),
        CostOf([] { return kelDirectory(); }),
        CostOf([] { return kelProcess(); }),
        CostOf([] { return kelSharedMemory(); }),
        CostOf([] { return kelTime(0); }),
        CostOf([&] {  // the buffer goes with the file
            kelFile file(name, kRead | kBuffered);
            char byte = 0;
            EXPECT_THAT(Statuses({file.Read(byte), file.Close()}), Each(kOk));
            return file;
        })};
    EXPECT_THAT(costs, Each(ElementsAre(0, 0, 1, 0))) << "users of APR, pools, blocks, descriptors";
    EXPECT_EQ(CostOf([] { return std::make_unique<kelAtomic>(); })[1], 0) << "pools";
    EXPECT_EQ(CostOf([] { return std::make_unique<kelDynamicObject>(); })[1], 0) << "pools";
    const Guard armed = Arm({FaultSource::Apr, 1000000});
    UnderFaults([&] {
        EXPECT_EQ(kelFileInfo(name).GetSize(), 1);
        EXPECT_THAT(
            Statuses({kelFile::Exists(nullptr, name), kelFile::Copy(name, other, 0x644),
                      kelFile::Rename(other, name), kelFile::SetPermissions(name, 0x600),
                      kelFile().Open(name, kRead | kBuffered), kelFile::Delete(name),
                      kelDirectory::Create(other, 0x755, true), kelDirectory::Delete(other)}),
            Each(kOk));
        EXPECT_THAT(kelDirectory::GetFileNames("."), ElementsAre());
        EXPECT_NE(kelDirectory::GetCurrentDirectory(), "");
        EXPECT_NE(kelLibrary::GetAbsoluteFileName("~/$PATH"), "~/$PATH");
    });
    EXPECT_EQ(fault.calls, 0) << "of APR, the first " << fault.struck;
}
