// What an open file does with system calls that move fewer bytes than they were asked for, that a
// signal interrupts, and that are not made at all.

#include "linux/Users.h"

using namespace zukel::test;
using FileStream = InDirectory;

namespace {

/// A file as a text and a position, to compare with.
struct Model {
    std::string content;
    bool appends, buffered;
    std::size_t position = 0;

    std::string Next(std::size_t size) {
        const std::string bytes = content.substr(std::min(position, content.size()), size);
        position += bytes.size();
        return bytes;
    }
    std::string NextLine(std::size_t size) {
        const std::size_t feed = std::min(content.find('\n', position), content.size());
        return Next(std::min(size, std::max(feed, position) + 1 - position));
    }
    void Put(const std::string& bytes) {
        if (!bytes.empty()) {
            position = appends ? content.size() : position;
            content.resize(std::max(content.size(), position + bytes.size()));
            content.replace(position, bytes.size(), bytes);
            position += bytes.size();
        }
    }
};

/// Makes an operation on a file and on its model.
void Operate(const std::string& operation, kelFile& file, Model& model, std::string room,
             const std::string& text, std::size_t position) {
    SCOPED_TRACE(operation);
    if (operation == "Read") {
        unsigned long long size = room.size();
        const int status = file.Read(room.data(), size);
        const std::string expected = model.Next(model.buffered ? room.size() : size);
        EXPECT_EQ(status, expected.empty() ? kFailed : kOk);
        EXPECT_EQ(room.substr(0, size), expected);
    } else if (operation == "ReadLine") {
        const std::string line = model.NextLine(room.size() - 1);
        EXPECT_EQ(file.ReadLine(room.data(), room.size()), line.empty() ? kFailed : kOk);
        EXPECT_EQ(room.substr(0, line.size() + 1), line + '\0');
    } else if (operation == "Write") {
        unsigned long long size = text.size();
        EXPECT_EQ(file.Write(text.data(), size), kOk);
        EXPECT_GE(size, model.buffered ? text.size() : 0);
        model.Put(text.substr(0, size));
    } else if (operation == "WriteLine") {
        EXPECT_EQ(file.WriteLine(text.c_str()), kOk);
        model.Put(text);
    } else if (operation == "SeekTo") {
        EXPECT_EQ(file.SeekTo(static_cast<long long>(position)), kOk);
        model.position = position;
    } else {
        EXPECT_EQ(file.SeekTo(-1), kFailed) << "which moves nothing";
        EXPECT_EQ(file.Flush(), kOk);
    }
}

TEST_F(FileStream, RandomOperations_AreThoseOfAModel) {
    const char* const operations[] = {"Read", "ReadLine", "Write", "WriteLine", "SeekTo", "Flush"};
    std::mt19937 random;
    const auto upTo = [&](std::size_t most) { return random() % (most + 1); };
    const auto someText = [&](std::size_t size) {
        std::string text(size, '\0');
        std::generate(text.begin(), text.end(),
                      [&] { return upTo(30) == 0 ? '\n' : char('a' + upTo(25)); });
        return text;
    };
    const Guard shortened = ShortTransfers([&](std::size_t size) {  // 0 is an interruption
        return upTo(5) == 0 ? 0 : std::max<std::size_t>(1, size * upTo(9) / 9);
    });
    for (const int append : {0, int{kelFile::ModeAppend}}) {
        for (unsigned seed = 0; seed < 300 && !HasFailure(); ++seed) {
            const int mode = append | (seed % 2 == 0 ? 0 : kBuffered);
            SCOPED_TRACE("mode " + std::to_string(mode) + ", seed " + std::to_string(seed));
            random.seed(seed);
            Model model{someText(9000), append != 0, seed % 2 != 0};
            kelFile file(directory.Write("file", model.content), kReadWrite | mode);
            for (int count = 0; count < 40 && !HasFailure(); ++count) {
                const std::size_t most = upTo(4) == 0 ? 9000 : 60;
                const std::string room(upTo(most) + 2, '#'), text = someText(upTo(most));
                const std::size_t position = upTo(12000);
                const char* const operation = operations[upTo(5)];
                UnderFaults([&] { Operate(operation, file, model, room, text, position); });
            }
            EXPECT_EQ(UnderFaults([&] { return file.Close(); }), kOk);
            EXPECT_EQ(ReadWhole("file"), model.content);
        }
    }
}

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
std::array<std::intmax_t, 4> CostOf(Make make) {
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

}  // namespace
