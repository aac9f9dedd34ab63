#include <atomic>
#include <memory>

#include "support/Testing.h"

using namespace zukel::test;

namespace {

constexpr int kDenied = kelStatusAccessDenied, kMissing = kelStatusNotFound;

TEST(kelFile, Open_AnswersByWhatStandsUnderTheName) {
    const TemporaryDirectory directory;
    const std::string former = directory.Write("file", "content");
    fs::create_directory(directory / "folder");
    // Windows tells a directory and a way through a file otherwise.
    const std::tuple<std::string, int, int> cases[] = {
        {"file", kRead | kelFile::ModeNoCleanup, kOk},
        {"folder", kRead, kOnWindows ? kDenied : kOk},
        {kOddName, kWrite, kOk},
        {"missing", kRead, kMissing},
        {"file", kelFile::ModeCreate, kDenied},
        {"file/below", kRead, kOnWindows ? kMissing : kFailed},
        {"file", kWrite | kelFile::ModeExclusive, kFailed},
        {"folder", kWrite, kOnWindows ? kDenied : kFailed},
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
    fs::create_directory("elsewhere");
    const std::string slash = directory / "", full = slash + std::string(121 - slash.size(), 'n');
    const std::pair<std::string, std::size_t> cases[] = {
        // with the leading bytes that stay; 0 for a template that is refused
        {"aXXXXXX", 1},
        {slash + "XXXXXXXXX", slash.size() + 3},
        {full + "XXXXXX", 121},
        {"aXXXXX", 0},
        {full + std::string(79, 'X'), 121},
        {full + "nXXXXXX", 0},
        {"XXXXXXa", 0},
        {"XX", 0},
        {"", 0}};
    for (const auto& [form, kept] : cases) {
        kelFile file(directory.Write("former"), kRead);
        EXPECT_EQ(file.CreateTemporaryFile(form), kept != 0 ? kOk : kFailed);
        const std::string name = file.GetFileName();
        EXPECT_EQ(name.size(), kept != 0 ? kept + 6 : 0) << form;
        // Windows replaces all trailing X.
        const std::size_t stays = kOnWindows ? form.find_last_not_of('X') + 1 : kept;
        EXPECT_EQ(name.substr(0, std::min(stays, kept)), form.substr(0, std::min(stays, kept)));
        EXPECT_EQ(fs::exists(name), kept != 0) << form;
        std::ofstream("elsewhere/" + name) << "a stranger's file of the same name";
        {
            const Guard moved = WorkingDirectory(directory / "elsewhere");
            file.Close();
            EXPECT_TRUE(name[0] != 'a' || fs::exists(name)) << form;
        }
        EXPECT_FALSE(fs::exists(name)) << form;
    }
}

/// The reads and writes that must come out alike with and without the runtime's buffer.
class kelFileData : public testing::TestWithParam<int> {
protected:
    kelFile Make(const std::string& content = "") const {
        return {directory.Write("file", content), kRead | kelFile::ModeWrite | GetParam()};
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
        EXPECT_TRUE(All(kFailed, {kelFile().Read(back), kelFile().Write(value)}));
        EXPECT_EQ(back, value);
        unsigned long long size = bytes.size();
        EXPECT_TRUE(All(kOk, {file.SeekToBegin(), file.Write(&value, size), file.SeekToBegin(),
                              file.Read(&back, size)}));
        EXPECT_EQ(std::memcmp(&back, &value, bytes.size()), 0);
        kelFile cut = Make("\x01");
        std::memset(&back, 0xEE, sizeof back);
        EXPECT_EQ(cut.Read(back), kOk);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&back), sizeof back),
                  "\x01" + std::string(sizeof back - 1, '\xEE'));
        kelFile full("/dev/full", kRead | kelFile::ModeWrite | GetParam());
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
    EXPECT_EQ(file.Read(block, size), kOk) << "a part is a success";
    EXPECT_EQ(size, 10U);
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
    const TemporaryDirectory place;
    const std::string name = place.Write("file", "0123456789");
    char line[16];
    kelFile appending(name, kRead | kelFile::ModeWrite | kelFile::ModeAppend | GetParam());
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
    const std::tuple<const char*, unsigned, std::vector<std::string>> cases[] = {
        {"a\r\nb", 16, {"a\r\n", "b"}}, {"abcdef\ng", 4, {"abc", "def", "\n", "g"}}, {"", 16, {}}};
    for (const auto& [content, size, lines] : cases) {
        kelFile file = Make(content);
        char buffer[16] = "x";
        EXPECT_EQ(file.ReadLine(buffer, 1), kOk) << "takes nothing";
        for (const std::string& line : lines) {
            EXPECT_EQ(file.ReadLine(buffer, size), kOk);
            EXPECT_EQ(buffer, line);
        }
        EXPECT_EQ(file.ReadLine(buffer, size), kFailed);
        EXPECT_TRUE(file.EndOfFile() && *buffer == '\0');
    }
}

TEST(kelFileClosed, EveryOperationFailsAndChangesNothing) {
    kelFile file;
    int value = 7;
    unsigned long long size = 4;
    char line[4] = "abc";
    EXPECT_TRUE(All(kFailed, {file.Read(value), file.Write(value), file.Read(&value, size),
                              file.Write(&value, size), file.ReadLine(line, 4), file.SeekTo(0),
                              file.WriteLine(line), file.SeekToEnd(), file.Flush(), file.Close()}));
    EXPECT_TRUE(file.EndOfFile() && value == 7 && size == 4 && line == std::string("abc"));
}

TEST(kelFileHugeBlock, BufferedWriteBeyond2GiB_IsWhole) {
    const unsigned long long wanted = (1ULL << 31U) + 5;
    const std::unique_ptr<void, void (*)(void*)> zeros(std::calloc(wanted, 1), std::free);
    kelFile file(kNullDevice, kelFile::ModeWrite | kelFile::ModeBuffered);
    unsigned long long size = wanted;
    EXPECT_EQ(file.Write(static_cast<const char*>(zeros.get()), size), kOk);
    EXPECT_EQ(size, wanted);
}

TEST(Threads, ObjectsInAllOfThem_StartAndStopTheRuntimeSafely) {
    const TemporaryDirectory directory;
    std::atomic<int> failures{0};
    InThreads([&](int number) {
        const std::string name = directory / std::to_string(number);
        for (int round = 0; round < 500; ++round) {
            kelFile file(name, kRead | kWrite), shared;
            shared = file;
            int value = -1;
            failures += shared.Write(round) + shared.SeekToBegin() != kOk;
            failures += file.Read(value) != kOk || value != round || !kelFile::Exists(name);
            failures += kelLibrary::GetAbsoluteFileName("~/$PATH")[0] == '~';
            failures += kelDirectory::GetFileNames(directory.Path()).empty();
            kelLibrary().GetLocale();
        }
    });
    EXPECT_EQ(failures, 0);
}

}  // namespace
