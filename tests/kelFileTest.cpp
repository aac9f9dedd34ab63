#include <memory>

#include "support/Testing.h"

using namespace zukel::test;

namespace {

constexpr int kReadWrite = kelFile::ModeRead | kelFile::ModeWrite;

TEST(kelFile, Open_AnswersByWhatStandsUnderTheName) {
    const TemporaryDirectory directory;
    const std::string former = directory.Write("file", "content");
    fs::create_directory(directory / "folder");
    constexpr int kDenied = kelStatusAccessDenied, kMissing = kelStatusNotFound;
    // Windows tells a directory and a way through a file otherwise.
    const std::tuple<std::string, int, int> cases[] = {
        {"file", kRead | kelFile::ModeNoCleanup, kOk},
        {"folder", kRead, kOnWindows ? kDenied : kOk},
        {kOddName, kWrite, kOk},
        {"missing", kRead, kMissing},
        {"file", kelFile::ModeCreate, kDenied},
        {"file/below", kRead, kOnWindows ? kMissing : kFailed},
        {"file", kWrite | kelFile::ModeExclusive, kFailed},
        {std::string(256, 'n'), kWrite, kOnWindows ? kMissing : kFailed}};
    for (const auto& [name, mode, status] : cases) {
        kelFile file(former, kRead);
        EXPECT_EQ(file.Open(directory / name, mode), status) << name;
        EXPECT_EQ(file.IsOpen(), status == kOk) << name;
        EXPECT_EQ(file.GetFileName(), status == kOk ? directory / name : "") << name;
    }
    EXPECT_EQ(kelFile().Open("", kRead), kMissing);
}

TEST(kelFile, CopiesAreClosedAndAssignmentsShare) {
    const TemporaryDirectory directory;
    kelFile source(directory.Write("file", "abcd"), kRead);
    EXPECT_FALSE(kelFile(source).IsOpen());
    kelFile target(directory / "former", kWrite | kBuffered);
    EXPECT_EQ(target.WriteLine("closed"), kOk);
    target = source;
    EXPECT_EQ(ReadWhole(directory / "former"), "closed");
    char byte = 0;
    EXPECT_TRUE(All(kOk, {source.Read(byte), target.Read(byte)}) && byte == 'b') << "one position";
    const kelFile& same = target;
    target = same;
    kelFile() = source;
    EXPECT_TRUE(source.IsOpen()) << "the last owner closes, not the first";
    EXPECT_TRUE(target.Close() == kOk && !source.IsOpen());
    EXPECT_EQ(source.GetFileName(), directory / "file") << "outlives the close";
}

TEST(kelFile, CreateTemporaryFile_MakesTheNameFromTheTemplateAndRemovesIt) {
    const TemporaryDirectory directory;
    const Guard entered = WorkingDirectory(directory.Path());
    const std::string slash = directory / "", full = slash + std::string(121 - slash.size(), 'n');
    // With the leading bytes that stay; 0 for a template that is refused.
    const std::pair<std::string, std::size_t> cases[] = {{"aXXXXXX", 1},
                                                         {slash + "XXXXXXXXX", slash.size() + 3},
                                                         {full + "XXXXXX", 121},
                                                         {"aXXXXX", 0},
                                                         {full + std::string(79, 'X'), 121},
                                                         {full + "nXXXXXX", 0},
                                                         {"XXXXXXa", 0},
                                                         {"XX", 0},
                                                         {"", 0}};
    for (const auto& [form, kept] : cases) {
        kelFile file(directory.Write("former"), kRead | kBuffered);
        EXPECT_EQ(file.CreateTemporaryFile(form), kept != 0 ? kOk : kFailed);
        EXPECT_EQ(file.Write('x'), kept != 0 ? kOk : kFailed) << "nothing of the former is left";
        const std::string name = file.GetFileName();
        EXPECT_TRUE(name.size() == (kept != 0 ? kept + 6 : 0) && fs::exists(name) == (kept != 0));
        // Windows replaces all trailing X.
        const std::size_t stays = kOnWindows ? form.find_last_not_of('X') + 1 : kept;
        EXPECT_EQ(name.substr(0, std::min(stays, kept)), form.substr(0, std::min(stays, kept)));
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

    /// Writes the value, looks at its bytes in the file, reads it back over all ones, and then from
    /// a file that ends within it.
    template <typename T>
    void RoundTrip(T value, const std::string& bytes) const {
        kelFile file = Make();
        T back;
        std::memset(&back, 0xFF, sizeof back);
        EXPECT_TRUE(All(kOk, {file.Write(value), file.SeekToBegin(), file.Read(back)}));
        EXPECT_EQ(Content(), bytes);
        EXPECT_TRUE(file.Read(back) == kFailed && file.EndOfFile());
        kelFile reading(file.GetFileName(), kRead | GetParam());
        EXPECT_TRUE(
            All(kFailed, {kelFile().Read(back), kelFile().Write(value), reading.Write(value)}));
        unsigned long long size = bytes.size();
        EXPECT_TRUE(All(kOk, {file.SeekToBegin(), file.Write(&value, size), file.SeekToBegin(),
                              file.Read(&back, size)}));
        EXPECT_EQ(back, value);
        kelFile cut = Make("\x01");
        std::memset(&back, 0xEE, sizeof back);
        EXPECT_EQ(cut.Read(back), kOk);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&back), sizeof back),
                  "\x01" + std::string(sizeof back - 1, '\xEE'));
        kelFile full("/dev/full", kReadWrite | GetParam());
        std::size_t taken = 0;
        while (full.Write(value) == kOk) {
            ++taken;
        }
        EXPECT_EQ(taken, GetParam() == 0 ? 0 : 4096 / bytes.size()) << "until the buffer is full";
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
    EXPECT_TRUE(All(kOk, {file.Write('c'), file.Flush()}));
    EXPECT_EQ(Content(), "0ab3c56789");
    EXPECT_EQ(file.SeekToEnd(), kOk);
    EXPECT_TRUE(file.Read(byte) == kFailed && file.EndOfFile());
    EXPECT_EQ(file.SeekTo(-1), kFailed);
    EXPECT_FALSE(file.EndOfFile()) << "another failure hides the end";
    size = 3;
    const std::string large(9000, 'l');  // more than a buffer takes
    EXPECT_TRUE(All(kOk, {file.SeekTo(12), file.Write(L"x", size), file.WriteLine(large.c_str()),
                          file.Close()}));
    EXPECT_EQ(Content(), std::string("0ab3c56789\0\0x\0\0", 15) + large) << "beyond the end";
}

TEST_P(kelFileData, AppendingAndReadingAlone_KeepPlacesAndRefuseWrites) {
    const std::string name = directory.Write("file", "0123456789");
    char line[16];
    kelFile appending(name, kReadWrite | kelFile::ModeAppend | GetParam());
    EXPECT_TRUE(All(kOk, {appending.WriteLine("ab"), appending.SeekTo(2),
                          appending.ReadLine(line, sizeof line)}));
    EXPECT_STREQ(line, "23456789ab");
    kelFile reading(name, kRead | GetParam());
    unsigned long long size = 2;
    EXPECT_TRUE(
        All(kFailed, {reading.Write(line, size), reading.Write(1), reading.WriteLine("x")}));
    EXPECT_TRUE(size == 0 && reading.Read(*line) == kOk && reading.Close() == kOk);
}

TEST_P(kelFileData, ReadLine_TakesLinesInPiecesThatFit) {
    kelFile file = Make("a\r\nabcdef\ng"), closed;
    char buffer[16] = "x";
    EXPECT_EQ(file.ReadLine(buffer, 1), kOk) << "takes nothing";
    for (const std::string line : {"a\r\n", "abc", "def", "\n", "g"}) {
        EXPECT_EQ(file.ReadLine(buffer, 4), kOk);
        EXPECT_EQ(buffer, line);
    }
    EXPECT_EQ(file.ReadLine(buffer, 4), kFailed);
    EXPECT_TRUE(file.EndOfFile() && *buffer == '\0');
    unsigned long long size = 4;
    EXPECT_TRUE(All(kFailed, {closed.Read(buffer, size), closed.Write(buffer, size),
                              closed.ReadLine(buffer, 4), closed.SeekTo(0), closed.Flush(),
                              closed.WriteLine(buffer), closed.SeekToEnd(), closed.Close()}));
    EXPECT_TRUE(closed.EndOfFile() && size == 4);
}

TEST(kelFile, BufferedWriteBeyond2GiB_IsWhole) {
    unsigned long long size = (1ULL << 31U) + 5;
    const std::unique_ptr<void, void (*)(void*)> zeros(std::calloc(size, 1), std::free);
    kelFile file(kNullDevice, kelFile::ModeWrite | kBuffered);
    EXPECT_EQ(file.Write(static_cast<const char*>(zeros.get()), size), kOk);
    EXPECT_EQ(size, (1ULL << 31U) + 5);
}

TEST(Threads, ObjectsInAllOfThem_StartAndStopTheRuntimeSafely) {
    const TemporaryDirectory directory;
    InThreads([&](int number) {
        const std::string name = directory / std::to_string(number);
        bool right = true;
        for (int round = 0; round < 500; ++round) {
            kelFile file(name, kRead | kWrite), shared;
            shared = file;
            int value = -1;
            right &= All(kOk, {shared.Write(round), shared.SeekToBegin(), file.Read(value)}) &&
                     value == round && kelFile::Exists(name) &&
                     kelLibrary::GetAbsoluteFileName("~/$PATH")[0] != '~' &&
                     !kelDirectory::GetFileNames(directory.Path()).empty();
            kelLibrary().GetLocale();
        }
        EXPECT_TRUE(right);
    });
}

}  // namespace
