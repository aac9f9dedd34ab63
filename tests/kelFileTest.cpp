#include "support/Testing.h"

using namespace zukel::test;

namespace {

TEST(kelFile, CopiesAreClosedAssignmentsShareAndOpenTellsWhy) {
    const TemporaryDirectory directory;
    kelFile source(directory.Write("file", "abcd"), kRead), copy(source);
    kelFile target(directory / "former", kWrite | kBuffered);
    EXPECT_TRUE(!copy.IsOpen() && target.WriteLine("closed") == kOk);
    target = source;
    EXPECT_EQ(ReadWhole(directory / "former"), "closed");
    char byte = 0;
    EXPECT_TRUE(All(kOk, {source.Read(byte), target.Read(byte)}) && byte == 'b') << "one position";
    kelFile() = target = *&target;
    EXPECT_TRUE(source.IsOpen()) << "the last owner closes, not the first";
    EXPECT_TRUE(target.Close() == kOk && !source.IsOpen());
    EXPECT_EQ(source.GetFileName(), directory / "file") << "outlives the close";
    EXPECT_EQ(source.Open(directory / kOddName, kWrite), kOk);
    EXPECT_EQ(source.Open(directory / "file", kWrite | kelFile::ModeExclusive), kFailed);
    EXPECT_TRUE(!source.IsOpen() && source.GetFileName().empty()) << "nothing of the former";
    EXPECT_TRUE(All(kelStatusNotFound, {copy.Open("", kRead), copy.Open(directory / "no", kRead)}));
    EXPECT_EQ(copy.Open(directory / "file", kelFile::ModeCreate), kelStatusAccessDenied);
    EXPECT_EQ(copy.Open(directory.Path(), kRead), kOnWindows ? kelStatusAccessDenied : kOk);
    EXPECT_EQ(copy.Open(directory / "file/x", kRead), kFailed);
}

TEST(kelFile, CreateTemporaryFile_MakesTheNameFromTheTemplateAndRemovesIt) {
    const TemporaryDirectory directory;
    const Guard entered = WorkingDirectory(directory.Path());
    const std::string slash = directory / "", full = slash + std::string(121 - slash.size(), 'n');
    for (const std::string& form :
         {slash + "XXXXX", full + "nXXXXXX", slash + "XXXXXXa", std::string()}) {
        kelFile file(directory.Write("former"), kRead);
        EXPECT_TRUE(file.CreateTemporaryFile(form) == kFailed && !file.IsOpen()) << form;
    }
    for (const std::string& form :
         {std::string("aXXXXXX"), slash + "XXXXXXXXX", full + std::string(79, 'X')}) {
        kelFile file(directory.Write("former"), kRead | kBuffered);
        EXPECT_TRUE(All(kOk, {file.CreateTemporaryFile(form), file.Write('x')})) << form;
        const std::string name = file.GetFileName();
        const std::size_t kept = std::min<std::size_t>(form.size() - 6, 121);
        EXPECT_TRUE(name.size() == kept + 6 && fs::exists(name));
        EXPECT_TRUE(kOnWindows || name.compare(0, kept, form, 0, kept) == 0) << "other X go there";
        fs::current_path(fs::temp_directory_path());
        file.Close();
        fs::current_path(directory.Path());
        EXPECT_FALSE(fs::exists(name)) << form;
    }
}

/// The reads and writes that must come out alike with and without the runtime's buffer.
class kelFileData : public testing::TestWithParam<int> {
protected:
    kelFile Make(const std::string& content = "") const {
        return {directory.Write("file", content), kReadWrite | GetParam()};
    }
    std::string Content() const { return ReadWhole(directory / "file"); }

    /// Writes the value, looks at its bytes in the file, reads it back, and then from a file that
    /// ends within it.
    template <typename T>
    void RoundTrip(T value, const std::string& bytes) const {
        kelFile file = Make();
        auto back = static_cast<T>(-1);  // all ones, but for fractions
        EXPECT_TRUE(All(kOk, {file.Write(value), file.SeekToBegin(), file.Read(back)}));
        EXPECT_TRUE(back == value && Content() == bytes) << value;
        EXPECT_TRUE(file.Read(back) == kFailed && file.EndOfFile());
        kelFile reading(file.GetFileName(), kRead | GetParam());
        unsigned long long size = 1;
        EXPECT_TRUE(
            All(kFailed, {kelFile().Read(back), kelFile().Write(value), reading.Write(value),
                          kelFile().Read(&back, size), kelFile().Write(&value, size)}));
        kelFile cut = Make("\x01");
        std::memset(&back, 0xEE, sizeof back);
        EXPECT_EQ(cut.Read(back), kOk);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&back), sizeof back),
                  "\x01" + std::string(sizeof back - 1, '\xEE'));
    }

    const TemporaryDirectory directory;
};
INSTANTIATE_TEST_SUITE_P(Modes, kelFileData, testing::Values(0, kBuffered));

TEST_P(kelFileData, TypedValues_AreTheirBytesInMemoryAndComeBackOrAreRefused) {
    RoundTrip(static_cast<short>(-2), "\xFE\xFF");
    RoundTrip(static_cast<unsigned short>(0xABCD), "\xCD\xAB");
    RoundTrip(L'\u20AC', "\xAC\x20");
    RoundTrip(0xFFFFFFFEU, "\xFE\xFF\xFF\xFF");
    RoundTrip(-2147483647L - 1, std::string("\0\0\0\x80", 4));
    RoundTrip(0xFFFFFFFDUL, "\xFD\xFF\xFF\xFF");
    RoundTrip(-2, "\xFE\xFF\xFF\xFF");
    RoundTrip('a', "a");
    RoundTrip(1.0F, std::string("\x00\x00\x80\x3F", 4));
    RoundTrip(1.0, std::string("\x00\x00\x00\x00\x00\x00\xF0\x3F", 8));
    if (!kOnWindows) {  // where the types are no wider than in the file
        kelFile file = Make();
        EXPECT_TRUE(All(kFailed, {file.Write(static_cast<long>(0x80000000LL)),
                                  file.Write(static_cast<long>(-0x80000001LL)),
                                  file.Write(static_cast<unsigned long>(0x100000000ULL)),
                                  file.Write(static_cast<wchar_t>(0x10000))}));
        EXPECT_EQ(file.Close(), kOk);
        EXPECT_EQ(Content(), "");
    }
}

TEST_P(kelFileData, BlocksPositionsAndEnd_AreThoseOfTheLastOperation) {
    kelFile file = Make("0123456789");
    EXPECT_FALSE(file.EndOfFile()) << "nothing has met it yet";
    short block[8] = {};
    unsigned long long size = sizeof block;
    EXPECT_TRUE(file.Read(block, size) == kOk && size == 10) << "a part is a success";
    EXPECT_TRUE(file.Read(block, size) == kFailed && size == 0);
    char byte = 0;
    EXPECT_TRUE(
        All(kOk, {file.SeekToBegin(), file.Read(byte), file.WriteLine("ab"), file.Read(byte)}));
    EXPECT_EQ(byte, '3') << "a write goes behind what was read";
    EXPECT_TRUE(All(kOk, {file.Write('c'), file.Flush()}) && Content() == "0ab3c56789");
    EXPECT_TRUE(file.SeekToEnd() == kOk && file.Read(byte) == kFailed && file.EndOfFile());
    EXPECT_TRUE(file.SeekTo(-1) == kFailed && !file.EndOfFile()) << "which hides the end";
    size = 3;
    const std::string large(9000, 'l');  // more than a buffer takes
    EXPECT_TRUE(All(kOk, {file.SeekTo(12), file.Write(L"x", size), file.WriteLine(large.c_str()),
                          file.Close()}));
    EXPECT_EQ(Content(), std::string("0ab3c56789\0\0x\0\0", 15) + large) << "beyond the end";
    kelFile appending(file.GetFileName(), kReadWrite | kelFile::ModeAppend | GetParam());
    EXPECT_TRUE(All(
        kOk, {appending.WriteLine("z"), appending.SeekTo(9014), appending.Read(block, size = 3)}));
    EXPECT_TRUE(size == 2 && std::memcmp(block, "lz", 2) == 0) << "at the end";
}

TEST_P(kelFileData, ReadLine_TakesPiecesThatFitAndRefusalsChangeNothing) {
    kelFile file = Make("a\r\nabcdef\ng"), closed;
    char buffer[16] = "x";
    EXPECT_EQ(file.ReadLine(buffer, 1), kOk) << "takes nothing";
    for (const std::string line : {"a\r\n", "abc", "def", "\n", "g"}) {
        EXPECT_EQ(file.ReadLine(buffer, 4), kOk);
        EXPECT_EQ(buffer, line);
    }
    EXPECT_EQ(file.ReadLine(buffer, 4), kFailed);
    EXPECT_TRUE(file.EndOfFile() && *buffer == '\0');
    kelFile reading(file.GetFileName(), kRead | GetParam());
    unsigned long long size = 2, rest = 4;
    EXPECT_TRUE(All(
        kFailed, {reading.Write(buffer, size), reading.WriteLine("x"), closed.Read(buffer, rest),
                  closed.Write(buffer, rest), closed.ReadLine(buffer, 4), closed.SeekTo(0),
                  closed.Flush(), closed.WriteLine(buffer), closed.SeekToEnd(), closed.Close()}));
    EXPECT_TRUE(closed.EndOfFile() && rest == 4 && size == 0);
    EXPECT_TRUE(reading.Read(*buffer) == kOk && reading.Close() == kOk) << "refused, and no more";
}

}  // namespace
