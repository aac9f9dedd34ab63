#include <gtest/gtest.h>

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

    /// Writes the value, looks at its bytes in the file, and reads it back over all ones.
    template <typename T>
    void RoundTrip(T value, const std::string& bytes) const {
        kelFile file = Make();
        EXPECT_EQ(file.Write(value), kelStatusOk);
        EXPECT_EQ(file.SeekToBegin(), kelStatusOk);
        EXPECT_EQ(Content(), bytes);
        T back;
        std::memset(&back, 0xFF, sizeof back);
        EXPECT_EQ(file.Read(back), kelStatusOk);
        EXPECT_EQ(back, value);
        EXPECT_FALSE(file.EndOfFile()) << "no read has failed yet";
        EXPECT_EQ(file.Read(back), kelStatusFailed);
        EXPECT_EQ(back, value);
        EXPECT_TRUE(file.EndOfFile());
    }

    /// A file that ends within a value changes the leading bytes only.
    template <typename T>
    void ReadCut(T value) const {
        kelFile file = Make("\x01\x02");
        std::memset(&value, 0xEE, sizeof value);
        EXPECT_EQ(file.Read(value), kelStatusOk);
        const std::string bytes(reinterpret_cast<const char*>(&value), sizeof value);
        EXPECT_EQ(bytes, "\x01\x02" + std::string(sizeof value - 2, '\xEE'));
    }

    const TemporaryDirectory directory;
};
INSTANTIATE_TEST_SUITE_P(Modes, kelFileData, testing::Values(0, kBuffered),
                         [](const auto& mode) { return mode.param ? "Buffered" : "Unbuffered"; });

TEST_P(kelFileData, TypedValues_AreTheirBytesInMemoryAndComeBack) {
    RoundTrip('c', "c");
    RoundTrip(static_cast<short>(-2), "\xFE\xFF");
    RoundTrip(static_cast<unsigned short>(0xABCD), "\xCD\xAB");
    RoundTrip(L'\u20AC', "\xAC\x20");
    RoundTrip(258, std::string("\x02\x01\x00\x00", 4));
    RoundTrip(0xFFFFFFFEU, "\xFE\xFF\xFF\xFF");
    RoundTrip(-3L, "\xFD\xFF\xFF\xFF");
    RoundTrip(0xFFFFFFFDUL, "\xFD\xFF\xFF\xFF");
    RoundTrip(1.0F, std::string("\x00\x00\x80\x3F", 4));
    RoundTrip(1.0, std::string("\x00\x00\x00\x00\x00\x00\xF0\x3F", 8));
    RoundTrip(static_cast<long>(std::numeric_limits<int>::min()), std::string("\0\0\0\x80", 4));
    ReadCut(int{});
    ReadCut(long{});
    ReadCut(0UL);
    ReadCut(double{});
}

TEST_P(kelFileData, ValuesThatDoNotFit_AreRefusedWhole) {
    kelFile file = Make();
    constexpr long long kMost = std::numeric_limits<int>::max();
    if (sizeof(long) > 4) {  // Windows has nothing to refuse
        EXPECT_EQ(file.Write(static_cast<long>(kMost + 1)), kelStatusFailed);
        EXPECT_EQ(file.Write(static_cast<long>(-kMost - 2)), kelStatusFailed);
        EXPECT_EQ(file.Write(static_cast<unsigned long>(2 * kMost + 2)), kelStatusFailed);
        EXPECT_EQ(file.Write(static_cast<wchar_t>(0x10000)), kelStatusFailed);
        EXPECT_EQ(file.Write(static_cast<wchar_t>(-1)), kelStatusFailed);
    }
    EXPECT_EQ(file.Close(), kelStatusOk);
    EXPECT_EQ(Content(), "");
}

TEST_P(kelFileData, Blocks_CountBytesForEveryType) {
    kelFile file = Make("0123456789ab");
    double block[4] = {};
    unsigned long long size = 10;
    EXPECT_EQ(file.Read(reinterpret_cast<short*>(block), size), kelStatusOk);
    EXPECT_EQ(size, 10U);
    EXPECT_STREQ(reinterpret_cast<const char*>(block), "0123456789");
    size = 0;
    EXPECT_EQ(file.Read(block, size), kelStatusOk) << "nothing asked for";
    size = sizeof block;
    EXPECT_EQ(file.Read(block, size), kelStatusOk) << "a part is a success";
    EXPECT_EQ(size, 2U);
    EXPECT_EQ(file.Read(block, size), kelStatusFailed);
    EXPECT_EQ(size, 0U);
    EXPECT_TRUE(file.EndOfFile());
    size = 3;
    EXPECT_EQ(file.Write(L"x", size), kelStatusOk);
    EXPECT_EQ(size, 3U);
    EXPECT_EQ(file.Close(), kelStatusOk);
    EXPECT_EQ(Content(), std::string("0123456789abx\0\0", 15));
}

TEST_P(kelFileData, ReadLine_TakesLinesInPiecesThatFit) {
    struct Case {
        const char* content;
        unsigned long long size;
        std::vector<std::string> lines;
    };
    const std::vector<Case> cases = {{"a\nbc\n", 16, {"a\n", "bc\n"}},
                                     {"a\r\nb", 16, {"a\r\n", "b"}},
                                     {"\n\n", 16, {"\n", "\n"}},
                                     {"abcdef\ng", 4, {"abc", "def", "\n", "g"}},
                                     {"ab", 2, {"a", "b"}},
                                     {"", 16, {}}};
    for (const Case& c : cases) {
        kelFile file = Make(c.content);
        char buffer[16] = "x";
        std::vector<std::string> lines;
        EXPECT_EQ(file.ReadLine(buffer, 1), kelStatusOk);
        EXPECT_STREQ(buffer, "") << "size 1 takes nothing";
        while (file.ReadLine(buffer, c.size) == kelStatusOk && lines.size() < 10) {
            lines.emplace_back(buffer);
        }
        EXPECT_EQ(lines, c.lines);
        EXPECT_STREQ(buffer, "") << "nothing left";
        EXPECT_TRUE(file.EndOfFile());
    }
}

TEST_P(kelFileData, PositionAndEnd_AreThoseOfTheLastOperation) {
    kelFile file = Make("0123456789");
    char text[16];
    char& byte = text[0];
    EXPECT_EQ(file.ReadLine(text, sizeof text), kelStatusOk);
    EXPECT_TRUE(file.EndOfFile()) << "the line met the end without a line feed";
    EXPECT_EQ(file.SeekToBegin(), kelStatusOk);
    EXPECT_FALSE(file.EndOfFile());
    EXPECT_EQ(file.Read(byte), kelStatusOk);
    EXPECT_EQ(file.WriteLine("ab"), kelStatusOk) << "exactly its bytes, behind the read one";
    EXPECT_EQ(file.Read(byte), kelStatusOk);
    EXPECT_EQ(byte, '3');
    EXPECT_EQ(file.Write('c'), kelStatusOk);
    EXPECT_EQ(file.Flush(), kelStatusOk);
    EXPECT_EQ(Content(), "0ab3c56789");
    EXPECT_EQ(file.SeekToEnd(), kelStatusOk);
    EXPECT_EQ(file.Read(byte), kelStatusFailed);
    EXPECT_TRUE(file.EndOfFile());
    EXPECT_EQ(file.SeekTo(-1), kelStatusFailed);
    EXPECT_FALSE(file.EndOfFile()) << "another failure hides the end";
    EXPECT_EQ(file.SeekTo(12), kelStatusOk) << "beyond the end";
    EXPECT_EQ(file.Write('d'), kelStatusOk);
    EXPECT_EQ(file.Close(), kelStatusOk);
    EXPECT_EQ(Content(), std::string("0ab3c56789\0\0d", 13));
}

TEST(kelFileClosed, EveryOperationFailsAndChangesNothing) {
    kelFile file;
    int value = 7;
    unsigned long long size = 4;
    char line[4] = "abc";
    for (const int status :
         {file.Read(value), file.Write(value), file.Read(&value, size), file.Write(&value, size),
          file.ReadLine(line, sizeof line), file.WriteLine(line), file.SeekTo(0),
          file.SeekToBegin(), file.SeekToEnd(), file.Flush(), file.Close()}) {
        EXPECT_EQ(status, kelStatusFailed);
    }
    EXPECT_TRUE(file.EndOfFile() && value == 7 && size == 4 && line == std::string("abc"));
}

TEST(kelFileFullDevice, EveryLostWriteIsTold) {
    const std::vector<char> block(10000, 'x');
    kelFile direct("/dev/full", kelFile::ModeWrite);
    unsigned long long size = block.size();
    EXPECT_EQ(direct.Write(block.data(), size), kelStatusFailed);
    EXPECT_EQ(size, 0U);
    EXPECT_FALSE(direct.EndOfFile());
    for (const unsigned long long before : {0, 1, 4095, 4096}) {
        kelFile buffered("/dev/full", kelFile::ModeWrite | kBuffered);
        size = before;
        EXPECT_EQ(buffered.Write(block.data(), size), kelStatusOk) << before;
        size = block.size();
        EXPECT_EQ(buffered.Write(block.data(), size), kelStatusFailed) << before;
        EXPECT_EQ(size, 4096 - before) << "what the buffer still took";
        for (const int status : {buffered.Write(1), buffered.WriteLine("x"), buffered.Flush(),
                                 buffered.SeekToBegin(), buffered.Close()}) {
            EXPECT_EQ(status, kelStatusFailed);
        }
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
        EXPECT_EQ(file.WriteLine("taken whole or not at all"), kelStatusFailed);
        EXPECT_EQ(file.Write(1), kelStatusFailed);
    }
    unsigned long long rest = text.size() - taken;
    EXPECT_EQ(file.Write(text.data() + taken, rest), kelStatusOk);
    EXPECT_EQ(file.Close(), kelStatusOk);
    EXPECT_EQ(ReadWhole(directory / "file"), text);
}

TEST(kelFileHugeBlock, BufferedWriteBeyond2GiB_IsWhole) {
    const unsigned long long wanted = (1ULL << 31U) + 5;
    const std::unique_ptr<void, void (*)(void*)> zeros(std::calloc(wanted, 1), std::free);
    kelFile file("/dev/null", kelFile::ModeWrite | kBuffered);
    unsigned long long size = wanted;
    EXPECT_EQ(file.Write(static_cast<const char*>(zeros.get()), size), kelStatusOk);
    EXPECT_EQ(size, wanted);
}

}  // namespace
