// What an open file does with system calls that move fewer bytes than they were asked for, that a
// signal interrupts, and that are not made at all.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "linux/Users.h"
#include "support/Faults.h"

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
        const int most = Upto(4) == 0 ? 9000 : 60;
        switch (Upto(5)) {
            case 0: {
                std::string room(static_cast<std::size_t>(Upto(most)), '#');
                unsigned long long size = room.size();
                const int status = file.Read(room.data(), size);
                const std::string expected = model.Next(buffered ? room.size() : size);
                EXPECT_EQ(room.substr(0, size), expected) << "Read";
                EXPECT_EQ(status, expected.empty() && !room.empty() ? kFailed : kOk) << "Read";
                break;
            }
            case 1: {
                std::string room(static_cast<std::size_t>(Upto(most)) + 2, '#');
                const std::string expected = model.NextLine(room.size() - 1);
                EXPECT_EQ(file.ReadLine(room.data(), room.size()),
                          expected.empty() ? kFailed : kOk);
                EXPECT_EQ(room.substr(0, expected.size()), expected) << "ReadLine";
                EXPECT_EQ(room[expected.size()], '\0') << "ReadLine";
                break;
            }
            case 2: {
                const std::string text = Text(Upto(most));
                unsigned long long size = text.size();
                EXPECT_EQ(file.Write(text.data(), size), kOk) << "Write";
                model.Put(text.substr(0, size));
                EXPECT_TRUE(size == text.size() || !buffered) << "Write, " << size << " bytes";
                break;
            }
            case 3: {
                const std::string text = Text(Upto(most));
                EXPECT_EQ(file.WriteLine(text.c_str()), kOk) << "WriteLine";
                model.Put(text);
                break;
            }
            case 4:
                model.position = static_cast<std::size_t>(Upto(12000));
                EXPECT_EQ(file.SeekTo(static_cast<long long>(model.position)), kOk) << "SeekTo";
                break;
            default:
                EXPECT_EQ(file.SeekTo(-1), kFailed) << "which moves nothing";
                EXPECT_EQ(file.Flush(), kOk) << "Flush";
                break;
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

TEST_F(FileStreams, Lines_CostFewCallsAndTakeNothingFromAPipe) {
    std::string lines;
    for (int line = 0; line < 100; ++line) {
        lines += "a line of some length, number " + std::to_string(line) + "\n";
    }
    char text[200];
    zuString whole;
    kelFile file(directory.Write("lines", lines), kRead);
    const Guard armed = Arm({FaultSource::System, 1000000});
    for (int line = 0; line < 100; ++line) {
        EXPECT_EQ(UnderFaults([&] { return file.ReadLine(text, sizeof text); }), kOk) << line;
    }
    EXPECT_LE(fault.calls, 201) << "two for each line";
    fault.calls = 0;
    EXPECT_EQ(UnderFaults([&] {
                  return kelFile::ReadWhole(directory.Write("large", Noise(100000)), whole);
              }),
              kOk);
    EXPECT_LE(fault.calls, 6) << "opened, measured, read twice, closed";
    kelFile out("out", kReadWrite | kelFile::ModeCreate | kBuffered);
    EXPECT_EQ(UnderFaults([&] { return out.ReadLine(text, sizeof text); }), kFailed);
    fault.calls = 0;
    for (int line = 0; line < 100; ++line) {
        EXPECT_EQ(
            UnderFaults([&] { return out.WriteLine("forty bytes, forty bytes, forty bytes..."); }),
            kOk);
    }
    EXPECT_LE(fault.calls, 2) << "all within the buffer";

    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    const int end = open("pipe", O_RDWR | O_CLOEXEC);
    const Guard closed([end] { close(end); });
    ASSERT_EQ(write(end, "one\ntwo\n", 8), 8);
    kelFile reading("pipe", kRead);
    EXPECT_EQ(reading.ReadLine(text, sizeof text), kOk);
    EXPECT_STREQ(text, "one\n");
    EXPECT_EQ(read(end, text, sizeof text), 4) << "for whoever reads next";
    kelFile both("pipe",
                 kReadWrite | kBuffered);  // as a terminal: written to with lines left unread
    ASSERT_EQ(write(end, "one\ntwo\n", 8), 8);
    EXPECT_EQ(both.ReadLine(text, sizeof text), kOk);
    EXPECT_EQ(both.Write('x'), kOk);
    EXPECT_EQ(both.ReadLine(text, sizeof text), kOk);
    EXPECT_STREQ(text, "two\n");
    kelFile status("/proc/self/status", kRead);  // which has no size
    EXPECT_EQ(status.ReadLine(text, sizeof text), kOk);
    EXPECT_EQ(std::string(text, 6), "Name:\t");
}

TEST_F(FileStreams, EarlierFiles_StayOpenUntilTheObjectGoes) {
    const auto held = WhatIsHeld();
    int kept = -1;
    for (const int mode : {0, int{kelFile::ModeNoCleanup}}) {
        const std::string first = "first" + std::to_string(mode);
        {
            kelFile file(first, kWrite | kBuffered | mode);
            EXPECT_EQ(file.WriteLine("text"), kOk);
            kept = dup(0) - 1;  // the number of the file
            close(kept + 1);
            EXPECT_EQ(file.Open("second", kWrite), kOk);
            EXPECT_EQ(ReadWhole(first), "") << mode;
        }
        EXPECT_EQ(ReadWhole(first), mode == 0 ? "text" : "");
    }
    EXPECT_EQ(close(kept), 0) << "open still: it was opened without clean-up";
    EXPECT_EQ(WhatIsHeld()[3], held[3]);
}

TEST_F(FileStreams, ForkedCopies_LeaveTheEndToTheParent) {
    auto file = std::make_unique<kelFile>("file", kWrite | kBuffered);
    auto temporary = std::make_unique<kelFile>();
    EXPECT_EQ(file->WriteLine("once"), kOk);
    EXPECT_EQ(file->Lock(kelFile::LockExclusive, 0), kOk);
    EXPECT_EQ(temporary->CreateTemporaryFile(directory / "XXXXXX"), kOk);
    const std::string temporaryName = temporary->GetFileName();
    InForkedCopy([&] {
        file.reset();
        temporary.reset();
    });
    EXPECT_EQ(ReadWhole("file"), "");
    kelFile other("file", kWrite);
    EXPECT_EQ(other.Lock(kelFile::LockExclusive, 0), kelStatusBusy) << "not the copy's to end";
    EXPECT_TRUE(fs::exists(temporaryName));
    file.reset();
    temporary.reset();
    EXPECT_EQ(ReadWhole("file"), "once");
    EXPECT_FALSE(fs::exists(temporaryName));
}

/// An idle object is one block of memory, and neither it nor what goes to the system starts APR.
TEST_F(FileStreams, IdleObjectsAreOneBlockAndStartNothing) {
    const std::string name = "f", other = "g";
    directory.Write("f", "x");
    const auto costs = [](auto make) {
        const auto before = WhatIsHeld();
        const auto object = UnderFaults(make);
        auto after = WhatIsHeld();
        for (std::size_t at = 0; at < after.size(); ++at) {
            after[at] -= before[at];
        }
        return after;
    };
    using Held = std::array<std::intmax_t, 4>;
    const Held each[] = {
        costs([] { return kelFile(); }),         costs([] { return kelFileInfo("n"); }),
        costs([] { return kelDirectory(); }),    costs([] { return kelProcess(); }),
        costs([] { return kelSharedMemory(); }), costs([] { return kelTime(0); })};
    EXPECT_THAT(each, Each(Held{0, 0, 1, 0})) << "users of APR, its pools, blocks, descriptors";
    EXPECT_EQ(costs([&] {
                  auto file = std::make_unique<kelFile>(name, kRead | kBuffered);
                  EXPECT_EQ(file->ReadLine(std::array<char, 8>().data(), 8), kOk);
                  EXPECT_EQ(file->Close(), kOk);
                  return file;
              }),
              (Held{0, 0, 2, 0}))
        << "the buffer goes with the file";
    EXPECT_EQ(costs([] { return std::make_unique<kelAtomic>(); })[1], 0) << "pools";
    EXPECT_EQ(costs([] { return std::make_unique<kelDynamicObject>(); })[1], 0) << "pools";
    const Guard armed = Arm({FaultSource::Runtime, 1000000});
    UnderFaults([&] {
        EXPECT_TRUE(kelFile::Exists(name));
        EXPECT_EQ(kelFileInfo(name).GetSize(), 1);
        EXPECT_EQ(kelFile::Copy(name, other, 0x644), kOk);
        EXPECT_EQ(kelFile::Rename(other, name), kOk);
        EXPECT_EQ(kelFile::SetPermissions(name, 0x600), kOk);
        EXPECT_TRUE(kelFile(name, kRead | kBuffered).IsOpen());
        EXPECT_EQ(kelFile::Delete(name), kOk);
        EXPECT_EQ(kelDirectory::Create(other, 0x755, true), kOk);
        EXPECT_EQ(kelDirectory::GetFileNames(".").size(), 1U);
        EXPECT_EQ(kelDirectory::Delete(other), kOk);
        EXPECT_NE(kelDirectory::GetCurrentDirectory(), "");
        EXPECT_NE(kelLibrary::GetAbsoluteFileName("~/$PATH"), "~/$PATH");
    });
    EXPECT_EQ(fault.calls, 0) << "of APR, the first " << fault.struck;
}

}  // namespace
