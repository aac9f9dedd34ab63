// What an open file does with system calls that move fewer bytes than they were asked for, that a
// signal interrupts, and that are not made at all.

#include "linux/Users.h"

using namespace zukel::test;
using FileStreams = InDirectory;

namespace {

/// A file as a text and a position, to compare with.
struct Model {
    std::string content;
    std::size_t position = 0;
    bool appends = false;

    std::string Next(std::size_t size) {
        const std::string bytes =
            position < content.size() ? content.substr(position, size) : std::string();
        position += bytes.size();
        return bytes;
    }
    std::string NextLine(std::size_t size) {
        const std::size_t feed = content.find('\n', position);
        return Next(feed == std::string::npos ? size : std::min(size, feed + 1 - position));
    }
    void Put(const std::string& bytes) {
        if (bytes.empty()) {
            return;
        }
        position = appends ? content.size() : position;
        content.resize(std::max(content.size(), position + bytes.size()));
        content.replace(position, bytes.size(), bytes);
        position += bytes.size();
    }
};

/// Random operations on a file and on its model, while each transfer of the system moves a random
/// part of what it was asked for, or is interrupted first.
class FileStream : public testing::TestWithParam<int> {
protected:
    int Upto(int most) { return std::uniform_int_distribution<>(0, most)(random); }
    std::string Text(int size) {
        std::string text(static_cast<std::size_t>(size), '\0');
        std::generate(text.begin(), text.end(),
                      [&] { return Upto(30) == 0 ? '\n' : 'a' + Upto(25); });
        return text;
    }

    void Operate(kelFile& file, Model& model) {
        const bool buffered = (GetParam() & kBuffered) != 0;
        const int most = Upto(4) == 0 ? 9000 : 60, operation = Upto(5);
        std::string room(static_cast<std::size_t>(Upto(most)) + 2, '#'), text = Text(Upto(most));
        unsigned long long size = operation == 0 ? room.size() : text.size();
        SCOPED_TRACE("operation " + std::to_string(operation));
        if (operation == 0) {
            const int status = file.Read(room.data(), size);
            const std::string expected = model.Next(buffered ? room.size() : size);
            EXPECT_EQ(status, expected.empty() ? kFailed : kOk);
            EXPECT_EQ(room.substr(0, size), expected);
        } else if (operation == 1) {
            const std::string expected = model.NextLine(room.size() - 1);
            EXPECT_EQ(file.ReadLine(room.data(), room.size()), expected.empty() ? kFailed : kOk);
            EXPECT_EQ(room.substr(0, expected.size() + 1), expected + '\0');
        } else if (operation == 2) {
            EXPECT_EQ(file.Write(text.data(), size), kOk);
            EXPECT_LE(buffered ? text.size() : 0, size) << "a part";
            model.Put(text.substr(0, size));
        } else if (operation == 3) {
            EXPECT_EQ(file.WriteLine(text.c_str()), kOk);
            model.Put(text);
        } else if (operation == 4) {
            model.position = static_cast<std::size_t>(Upto(12000));
            EXPECT_EQ(file.SeekTo(static_cast<long long>(model.position)), kOk);
        } else {
            EXPECT_EQ(file.SeekTo(-1), kFailed) << "which moves nothing";
            EXPECT_EQ(file.Flush(), kOk);
        }
    }

    std::mt19937 random;
};
INSTANTIATE_TEST_SUITE_P(Modes, FileStream,
                         testing::Values(0, kBuffered, int{kelFile::ModeAppend},
                                         kBuffered | kelFile::ModeAppend));

TEST_P(FileStream, RandomOperations_AreThoseOfAModel) {
    const TemporaryDirectory directory;
    for (unsigned seed = 0; seed < 150 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        random.seed(seed);
        Model model{Text(9000), 0, (GetParam() & kelFile::ModeAppend) != 0};
        const std::string name = directory.Write("file", model.content);
        const Guard shortened = ShortTransfers([this](std::size_t size) {
            return Upto(5) == 0 ? 0 : std::max<std::size_t>(1, size * std::size_t(Upto(9)) / 9);
        });
        kelFile file(name, kReadWrite | GetParam());
        for (int count = 0; count < 40 && !HasFailure(); ++count) {
            UnderFaults([&] { Operate(file, model); });
        }
        EXPECT_EQ(UnderFaults([&] { return file.Close(); }), kOk);
        EXPECT_TRUE(ReadWhole(name) == model.content);
    }
}

TEST_F(FileStreams, LinesAndWholeFiles_CostFewCalls) {
    std::string lines;
    for (int line = 0; line < 100; ++line) {
        lines += "a line of some length, number " + std::to_string(line) + "\n";
    }
    directory.Write("lines", lines), directory.Write("large", Noise(100000));
    char text[200];
    zuString whole;
    kelFile in("lines", kRead), out("out", kWrite | kBuffered);
    const struct {
        const char* what;
        int times, calls;
        std::function<int()> call;
    } rows[] = {
        {"ReadLine", 100, 201, [&] { return in.ReadLine(text, sizeof text); }},
        {"ReadWhole", 1, 5, [&] { return kelFile::ReadWhole("large", whole); }},
        {"WriteLine", 100, 2, [&] { return out.WriteLine("forty bytes, forty bytes, forty..."); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const Guard armed = Arm({FaultSource::System, 1000000});
        for (int time = 0; time < row.times; ++time) {
            EXPECT_EQ(UnderFaults(row.call), kOk) << time;
        }
        EXPECT_LE(fault.calls, row.calls);
    }
}

TEST_F(FileStreams, Lines_OfAPipeAreTakenOneByOne) {
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

TEST_F(FileStreams, EarlierFiles_StayOpenUntilTheObjectGoes) {
    for (const int mode : {0, int{kelFile::ModeNoCleanup}}) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        const int descriptor = dup(0);  // the number that the file gets
        close(descriptor);
        {
            kelFile file("first", kWrite | kelFile::ModeTruncate | kBuffered | mode);
            EXPECT_EQ(file.WriteLine("text"), kOk);
            EXPECT_EQ(file.Open("second", kWrite), kOk);
            EXPECT_EQ(ReadWhole("first"), "");
            EXPECT_NE(fcntl(descriptor, F_GETFD), -1);
        }
        EXPECT_EQ(ReadWhole("first"), mode == 0 ? "text" : "");
        EXPECT_EQ(close(descriptor), mode == 0 ? -1 : 0) << "open without clean-up";
        const int second = dup(0);
        EXPECT_EQ(second, descriptor) << "another one is left open";
        close(second);
    }
}

TEST_F(FileStreams, ForkedCopies_LeaveTheEndToTheParent) {
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

TEST_F(FileStreams, IdleObjectsAreOneBlockAndStartNothing) {
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
    const Guard armed = Arm({FaultSource::Runtime, 1000000});
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
