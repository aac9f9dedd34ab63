#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "kelFile.h"
#include "kelStatus.h"
#include "support/System.h"
#include "support/TemporaryDirectory.h"

using zukel::test::FileSizeLimit;
using zukel::test::ReadWhole;
using zukel::test::TemporaryDirectory;

namespace {

constexpr int kBuffered = kelFile::ModeBuffered;

/// The reads and writes that must come out alike with and without the runtime's buffer.
class kelFileData : public testing::TestWithParam<int> {
protected:
    kelFile Make(const std::string& content = "") const {
        return {directory.Write("file", content),
                kelFile::ModeRead | kelFile::ModeWrite | GetParam()};
    }
    std::string Content() const { return ReadWhole(directory / "file"); }

    const TemporaryDirectory directory;
};
INSTANTIATE_TEST_SUITE_P(Modes, kelFileData, testing::Values(0, kBuffered),
                         [](const auto& mode) { return mode.param ? "Buffered" : "Unbuffered"; });

TEST_P(kelFileData, TypedValues_AreTheirBytesInMemoryAndComeBack) {
    kelFile file = Make();
    EXPECT_EQ(file.Write('c'), kelStatusOk);
    EXPECT_EQ(file.Write(static_cast<short>(-2)), kelStatusOk);
    EXPECT_EQ(file.Write(static_cast<unsigned short>(0xABCD)), kelStatusOk);
    EXPECT_EQ(file.Write(L'\u20AC'), kelStatusOk);
    EXPECT_EQ(file.Write(258), kelStatusOk);
    EXPECT_EQ(file.Write(0xFFFFFFFEU), kelStatusOk);
    EXPECT_EQ(file.Write(-3L), kelStatusOk);
    EXPECT_EQ(file.Write(0xFFFFFFFDUL), kelStatusOk);
    EXPECT_EQ(file.Write(1.0F), kelStatusOk);
    EXPECT_EQ(file.Write(1.0), kelStatusOk);
    EXPECT_EQ(file.SeekToBegin(), kelStatusOk);

    const char expected[] =
        "c\xFE\xFF\xCD\xAB\xAC\x20\x02\x01\x00\x00\xFE\xFF\xFF\xFF\xFD\xFF\xFF\xFF"
        "\xFD\xFF\xFF\xFF\x00\x00\x80\x3F\x00\x00\x00\x00\x00\x00\xF0\x3F";
    EXPECT_EQ(Content(), std::string(expected, sizeof expected - 1));

    char c = 0;
    short s = 0;
    unsigned short us = 0;
    auto w = static_cast<wchar_t>(-1);  // every byte must be replaced, also the upper ones
    int i = 0;
    unsigned int ui = 0;
    long l = 0;
    auto ul = std::numeric_limits<unsigned long>::max();
    float f = 0;
    double d = 0;
    for (const int status :
         {file.Read(c), file.Read(s), file.Read(us), file.Read(w), file.Read(i), file.Read(ui),
          file.Read(l), file.Read(ul), file.Read(f), file.Read(d)}) {
        EXPECT_EQ(status, kelStatusOk);
    }
    EXPECT_EQ(c, 'c');
    EXPECT_EQ(s, -2);
    EXPECT_EQ(us, 0xABCD);
    EXPECT_EQ(w, L'\u20AC');
    EXPECT_EQ(i, 258);
    EXPECT_EQ(ui, 0xFFFFFFFEU);
    EXPECT_EQ(l, -3L);
    EXPECT_EQ(ul, 0xFFFFFFFDUL);
    EXPECT_EQ(f, 1.0F);
    EXPECT_EQ(d, 1.0);
    EXPECT_FALSE(file.EndOfFile()) << "no read has failed yet";
    EXPECT_EQ(file.Read(i), kelStatusFailed);
    EXPECT_EQ(i, 258);
    EXPECT_TRUE(file.EndOfFile());
}

TEST_P(kelFileData, ValuesThatDoNotFit_AreRefusedWhole) {
    kelFile open = Make();
    constexpr std::int64_t kInt32Max = std::numeric_limits<std::int32_t>::max();
    if (sizeof(long) > 4) {
        EXPECT_EQ(open.Write(static_cast<long>(kInt32Max + 1)), kelStatusFailed);
        EXPECT_EQ(open.Write(static_cast<long>(-kInt32Max - 2)), kelStatusFailed);
        EXPECT_EQ(open.Write(static_cast<unsigned long>(1ULL << 32U)), kelStatusFailed);
    }
    if (sizeof(wchar_t) > 2) {
        EXPECT_EQ(open.Write(static_cast<wchar_t>(0x10000)), kelStatusFailed);
        EXPECT_EQ(open.Write(static_cast<wchar_t>(-1)), kelStatusFailed);
    }
    EXPECT_EQ(open.Write(static_cast<long>(kInt32Max)), kelStatusOk);
    EXPECT_EQ(open.Write(static_cast<long>(-kInt32Max - 1)), kelStatusOk);
    EXPECT_EQ(open.Close(), kelStatusOk);
    EXPECT_EQ(Content(), std::string("\xFF\xFF\xFF\x7F\x00\x00\x00\x80", 8));
}

TEST_P(kelFileData, ValueCutByTheEnd_ChangesItsLeadingBytesOnly) {
    kelFile file(directory.Write("file", "\x01\x02"), kelFile::ModeRead | GetParam());
    const auto check = [&](auto value) {
        using T = decltype(value);
        EXPECT_EQ(file.SeekToBegin(), kelStatusOk);
        std::memset(&value, 0xEE, sizeof value);
        EXPECT_EQ(file.Read(value), kelStatusOk);
        T expected;
        std::memset(&expected, 0xEE, sizeof expected);
        std::memcpy(&expected, "\x01\x02", 2);
        EXPECT_EQ(std::memcmp(&value, &expected, sizeof value), 0) << sizeof value;
        EXPECT_EQ(file.Read(value), kelStatusFailed);
        EXPECT_TRUE(file.EndOfFile());
    };
    check(int{});
    check(long{});
    check(static_cast<unsigned long>(0));
    check(double{});
}

TEST_P(kelFileData, Blocks_CountBytesForEveryType) {
    kelFile file = Make("0123456789ab");
    short shorts[8] = {};
    unsigned long long size = 10;
    EXPECT_EQ(file.Read(shorts, size), kelStatusOk);
    EXPECT_EQ(size, 10U);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(shorts), 11),
              std::string("0123456789\0", 11));
    size = 0;
    EXPECT_EQ(file.Read(shorts, size), kelStatusOk) << "nothing asked for";
    EXPECT_EQ(size, 0U);
    double doubles[4] = {};
    size = sizeof doubles;
    EXPECT_EQ(file.Read(doubles, size), kelStatusOk) << "a part is a success";
    EXPECT_EQ(size, 2U);
    EXPECT_EQ(file.Read(doubles, size), kelStatusFailed);
    EXPECT_EQ(size, 0U);
    EXPECT_TRUE(file.EndOfFile());
    size = 3;
    EXPECT_EQ(file.Write("xyz", size), kelStatusOk);
    EXPECT_EQ(size, 3U);
    size = 0;
    EXPECT_EQ(file.Write("xyz", size), kelStatusOk);
    EXPECT_EQ(file.Close(), kelStatusOk);
    EXPECT_EQ(Content(), "0123456789abxyz");
}

TEST_P(kelFileData, ReadLine_TakesLinesInPiecesThatFit) {
    struct Case {
        const char* content;
        unsigned long long size;
        std::vector<std::string> lines;
        const char* why;
    };
    const std::vector<Case> cases = {
        {"a\nbc\n", 16, {"a\n", "bc\n"}, "the line feed stays"},
        {"a\r\nb", 16, {"a\r\n", "b"}, "a carriage return stays, the last line needs no end"},
        {"\n\n", 16, {"\n", "\n"}, "empty lines"},
        {"abcdef\ng", 4, {"abc", "def", "\n", "g"}, "a long line comes in pieces"},
        {"ab", 2, {"a", "b"}, "one byte at a time"},
        {"", 16, {}, "an empty file"},
    };
    for (const Case& c : cases) {
        kelFile file(directory.Write("file", c.content), kelFile::ModeRead | GetParam());
        char buffer[16];
        std::vector<std::string> lines;
        buffer[0] = 'x';
        EXPECT_EQ(file.ReadLine(buffer, 1), kelStatusOk) << c.why;
        EXPECT_STREQ(buffer, "") << "size 1 takes nothing";
        while (file.ReadLine(buffer, c.size) == kelStatusOk) {
            lines.emplace_back(buffer);
            ASSERT_LT(lines.size(), 10U);
        }
        EXPECT_EQ(lines, c.lines) << c.why;
        EXPECT_STREQ(buffer, "") << "nothing left";
        EXPECT_TRUE(file.EndOfFile());
    }
}

TEST_P(kelFileData, EndOfFile_IsToldByTheLastOperation) {
    kelFile file(directory.Write("file", "line"), kelFile::ModeRead | GetParam());
    char buffer[16];
    EXPECT_FALSE(file.EndOfFile());
    EXPECT_EQ(file.ReadLine(buffer, sizeof buffer), kelStatusOk);
    EXPECT_TRUE(file.EndOfFile()) << "the line met the end without a line feed";
    EXPECT_EQ(file.SeekToBegin(), kelStatusOk);
    EXPECT_FALSE(file.EndOfFile());
    EXPECT_EQ(file.Read(buffer[0]), kelStatusOk);
    EXPECT_EQ(buffer[0], 'l');
    EXPECT_EQ(file.SeekToEnd(), kelStatusOk);
    EXPECT_FALSE(file.EndOfFile());
    EXPECT_EQ(file.Read(buffer[0]), kelStatusFailed);
    EXPECT_TRUE(file.EndOfFile());
    EXPECT_EQ(file.SeekTo(-1), kelStatusFailed);
    EXPECT_FALSE(file.EndOfFile()) << "another failure hides the end";
    EXPECT_EQ(file.SeekTo(3), kelStatusOk);
    EXPECT_EQ(file.Read(buffer[0]), kelStatusOk);
    EXPECT_EQ(buffer[0], 'e');
}

TEST_P(kelFileData, ReadingAndWriting_TakeTurnsAtOnePosition) {
    kelFile turns = Make("0123456789");
    char byte = 0;
    EXPECT_EQ(turns.Read(byte), kelStatusOk);
    EXPECT_EQ(turns.WriteLine("ab"), kelStatusOk);
    EXPECT_EQ(turns.Read(byte), kelStatusOk);
    EXPECT_EQ(byte, '3');
    EXPECT_EQ(turns.Write('c'), kelStatusOk);
    EXPECT_EQ(turns.Flush(), kelStatusOk);
    EXPECT_EQ(Content(), "0ab3c56789");
    EXPECT_EQ(turns.SeekTo(12), kelStatusOk) << "beyond the end";
    EXPECT_EQ(turns.Write('d'), kelStatusOk);
    EXPECT_EQ(turns.Close(), kelStatusOk);
    EXPECT_EQ(Content(), std::string("0ab3c56789\0\0d", 13));
}

TEST_P(kelFileData, ClosedObject_FailsAndChangesNothing) {
    kelFile file;
    int value = 7;
    unsigned long long size = 4;
    char line[4] = "abc";
    for (const int status :
         {file.Read(value), file.Write(value), file.Read(&value, size), file.Write(&value, size),
          file.ReadLine(line, sizeof line), file.WriteLine(line), file.SeekTo(0),
          file.SeekToBegin(), file.SeekToEnd(), file.Flush()}) {
        EXPECT_EQ(status, kelStatusFailed);
    }
    EXPECT_TRUE(file.EndOfFile());
    EXPECT_EQ(value, 7);
    EXPECT_EQ(size, 4U);
    EXPECT_STREQ(line, "abc");
}

TEST(kelFileFullDevice, EveryLostWriteIsTold) {
    constexpr std::size_t kBufferSize = 4096;
    const std::vector<char> block(10000, 'x');
    kelFile direct("/dev/full", kelFile::ModeWrite);
    unsigned long long size = block.size();
    EXPECT_EQ(direct.Write(block.data(), size), kelStatusFailed);
    EXPECT_EQ(size, 0U);
    EXPECT_FALSE(direct.EndOfFile());

    for (const std::size_t before :
         {std::size_t{0}, std::size_t{1}, kBufferSize - 1, kBufferSize}) {
        kelFile buffered("/dev/full", kelFile::ModeWrite | kBuffered);
        size = before;
        EXPECT_EQ(buffered.Write(block.data(), size), kelStatusOk) << before;
        size = block.size();
        EXPECT_EQ(buffered.Write(block.data(), size), kelStatusFailed) << before;
        EXPECT_EQ(size, kBufferSize - before) << "what the buffer still took";
        size = block.size();
        EXPECT_EQ(buffered.Write(block.data(), size), kelStatusFailed) << before;
        EXPECT_EQ(size, 0U);
        EXPECT_EQ(buffered.WriteLine("x"), kelStatusFailed);
        EXPECT_EQ(buffered.Flush(), kelStatusFailed);
        EXPECT_EQ(buffered.SeekToBegin(), kelStatusFailed);
        EXPECT_EQ(buffered.Close(), kelStatusFailed);
        EXPECT_FALSE(buffered.IsOpen());
    }
}

TEST(kelFileFullDevice, WritingGoesOnWhereItStoppedWhenThereIsRoomAgain) {
    const TemporaryDirectory directory;
    std::string text;
    for (int number = 0; number < 3000; ++number) {
        text += std::to_string(number) + ' ';
    }
    kelFile file(directory.Write("file", ""), kelFile::ModeWrite | kBuffered);
    unsigned long long taken = text.size();
    {
        const FileSizeLimit full(6000);
        EXPECT_EQ(file.Write(text.data(), taken), kelStatusFailed);
        EXPECT_EQ(file.Flush(), kelStatusFailed);
    }
    unsigned long long rest = text.size() - taken;
    EXPECT_EQ(file.Write(text.data() + taken, rest), kelStatusOk);
    EXPECT_EQ(file.Close(), kelStatusOk);
    EXPECT_EQ(ReadWhole(directory / "file"), text);
}

TEST(kelFileFullDevice, BufferedValuesAndLines_AreTakenWholeOrNotAtAll) {
    const TemporaryDirectory directory;
    kelFile file(directory.Write("file", ""), kelFile::ModeWrite | kBuffered);
    std::string expected(4095, 'x');
    unsigned long long size = expected.size();
    {
        const FileSizeLimit full(0);
        EXPECT_EQ(file.Write(expected.data(), size), kelStatusOk);
        EXPECT_EQ(file.Write(1), kelStatusFailed);
        EXPECT_EQ(file.WriteLine("line"), kelStatusFailed);
    }
    EXPECT_EQ(file.WriteLine("line"), kelStatusOk);
    EXPECT_EQ(file.Close(), kelStatusOk);
    EXPECT_EQ(ReadWhole(directory / "file"), expected + "line");
}

TEST(kelFileHugeBlock, BufferedWriteBeyond2GiB_IsWhole) {
    const unsigned long long wanted = (1ULL << 31U) + 5;
    const std::unique_ptr<void, void (*)(void*)> zeros(std::calloc(wanted, 1), std::free);
    ASSERT_NE(zeros, nullptr);
    kelFile file("/dev/null", kelFile::ModeWrite | kBuffered);
    unsigned long long size = wanted;
    EXPECT_EQ(file.Write(static_cast<const char*>(zeros.get()), size), kelStatusOk);
    EXPECT_EQ(size, wanted);
}

}  // namespace
