#include "kelFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "kelDirectory.h"
#include "kelLibrary.h"
#include "kelStatus.h"
#include "support/System.h"
#include "support/TemporaryDirectory.h"

using namespace zukel::test;
namespace fs = std::filesystem;

namespace {

constexpr int kRead = kelFile::ModeRead;
constexpr int kCreate = kelFile::ModeWrite | kelFile::ModeCreate;
constexpr int kBuffered = kelFile::ModeBuffered;

/// Whether all of these, in their order, are one status.
bool All(int status, std::initializer_list<int> given) {
    return std::all_of(given.begin(), given.end(), [&](int one) { return one == status; });
}

TEST(kelFile, Open_AnswersByWhatStandsUnderTheName) {
    const TemporaryDirectory directory;
    const std::string readOnly = directory.Write("file", "content");
    fs::create_directory(directory / "folder");
    // Windows tells a directory and a way through a file otherwise.
    constexpr int kFailed = kelStatusFailed;
    const int ofFolder = kOnWindows ? kelStatusAccessDenied : kFailed;
    const std::vector<std::tuple<std::string, int, int>> cases = {
        {"file", kRead | kelFile::ModeNoCleanup, kelStatusOk},
        {"folder", kRead, kOnWindows ? kelStatusAccessDenied : kelStatusOk},
        {kOddName, kCreate, kelStatusOk},
        {"missing", kRead, kelStatusNotFound},
        {"file", kelFile::ModeCreate, kelStatusAccessDenied},
        {"file/below", kRead, kOnWindows ? kelStatusNotFound : kFailed},
        {"file", kCreate | kelFile::ModeExclusive, kFailed},
        {"folder", kCreate, ofFolder},
        {std::string(256, 'n'), kCreate, kOnWindows ? kelStatusNotFound : kFailed}};
    const auto inherited = InheritedDescriptors();
    for (const auto& [name, mode, status] : cases) {
        kelFile file(readOnly, kRead);
        EXPECT_EQ(file.Open(directory / name, mode), status) << name;
        EXPECT_EQ(file.IsOpen(), status == kelStatusOk) << name;
        EXPECT_EQ(file.GetFileName(), status == kelStatusOk ? directory / name : "") << name;
        EXPECT_EQ(InheritedDescriptors(), inherited) << name;
    }
    kelFile file;
    EXPECT_EQ(file.Open("", kRead), kelStatusNotFound);
    if (kOnWindows) {
        return;  // Wine runs as root and may write what it likes
    }
    fs::permissions(readOnly, fs::perms::group_read);
    fs::permissions(directory.Path(), fs::perms::group_exec, fs::perm_options::add);
    const Guard user = Unprivileged();
    EXPECT_EQ(file.Open(readOnly, kCreate), kelStatusAccessDenied);
    EXPECT_EQ(file.CreateTemporaryFile(directory / "XXXXXX"), kelStatusAccessDenied);
}

TEST(kelFile, CopiesAreClosedAndAssignmentsShare) {
    const TemporaryDirectory directory;
    kelFile source(directory.Write("file", "abcd"), kRead);
    EXPECT_FALSE(kelFile(source).IsOpen());
    kelFile target(directory / "former", kCreate | kBuffered);
    EXPECT_EQ(target.WriteLine("closed"), kelStatusOk);
    target = source;
    EXPECT_EQ(ReadWhole(directory / "former"), "closed");
    char byte = 0;
    EXPECT_TRUE(All(kelStatusOk, {source.Read(byte), target.Read(byte)}));
    EXPECT_EQ(byte, 'b') << "one position";
    const kelFile& same = target;
    target = same;
    kelFile() = source;
    EXPECT_TRUE(source.IsOpen()) << "the last owner closes, not the first";
    EXPECT_TRUE(target.Close() == kelStatusOk && !source.IsOpen());
    EXPECT_EQ(source.GetFileName(), directory / "file") << "outlives the close";
}

TEST(kelFile, CreateTemporaryFile_MakesTheNameFromTheTemplateAndRemovesIt) {
    const TemporaryDirectory directory;
    const Guard entered = WorkingDirectory(directory.Path());
    fs::create_directory("elsewhere");
    const std::string slash = directory / "", full = slash + std::string(121 - slash.size(), 'n');
    const std::vector<std::pair<std::string, std::size_t>> cases = {
        // with the leading bytes that stay; 0 for a template that is refused
        {"aXXXXXX", 1}, {slash + "XXXXXXXXX", slash.size() + 3}, {full + "XXXXXX", 121},
        {"aXXXXX", 0},  {full + std::string(79, 'X'), 121},      {full + "nXXXXXX", 0},
        {"XXXXXXa", 0}};
    const auto inherited = InheritedDescriptors();
    for (const auto& [form, kept] : cases) {
        kelFile file(directory.Write("former", ""), kRead);
        EXPECT_EQ(file.CreateTemporaryFile(form), kept != 0 ? kelStatusOk : kelStatusFailed);
        const std::string name = file.GetFileName();
        EXPECT_EQ(name.size(), kept != 0 ? kept + 6 : 0) << form;
        // Windows replaces all trailing X.
        const std::size_t stays = kOnWindows ? form.find_last_not_of('X') + 1 : kept;
        EXPECT_EQ(name.substr(0, std::min(stays, kept)), form.substr(0, std::min(stays, kept)));
        EXPECT_EQ(fs::exists(name), kept != 0) << form;
        EXPECT_EQ(InheritedDescriptors(), inherited);
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
        EXPECT_TRUE(All(kelStatusOk, {file.Write(value), file.SeekToBegin(), file.Read(back)}));
        EXPECT_EQ(Content(), bytes);
        EXPECT_TRUE(file.Read(back) == kelStatusFailed && file.EndOfFile());
        EXPECT_TRUE(All(kelStatusFailed, {kelFile().Read(back), kelFile().Write(value)}));
        EXPECT_EQ(back, value);
        unsigned long long size = bytes.size();
        EXPECT_TRUE(All(kelStatusOk, {file.SeekToBegin(), file.Write(&value, size),
                                      file.SeekToBegin(), file.Read(&back, size)}));
        EXPECT_EQ(std::memcmp(&back, &value, bytes.size()), 0);
        EXPECT_EQ(size, bytes.size());
        kelFile cut = Make("\x01");
        std::memset(&back, 0xEE, sizeof back);
        EXPECT_EQ(cut.Read(back), kelStatusOk);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&back), sizeof back),
                  "\x01" + std::string(sizeof back - 1, '\xEE'));
        kelFile full("/dev/full", kRead | kelFile::ModeWrite | GetParam());
        std::size_t taken = 0;
        while (full.Write(value) == kelStatusOk) {
            ++taken;
        }
        EXPECT_EQ(taken, GetParam() == 0 ? 0 : 4096 / bytes.size()) << "until the buffer is full";
        EXPECT_EQ(full.Read(back), GetParam() == 0 ? kelStatusOk : kelStatusFailed);
    }

    /// Writes values that the file has no room for, where the types can hold such.
    template <typename Long, typename Unsigned, typename Wide>
    static void RefuseTooWide(kelFile& file) {
        if constexpr (sizeof(Long) > 4) {
            EXPECT_TRUE(
                All(kelStatusFailed, {file.Write(Long{0x80000000}), file.Write(-Long{0x80000001}),
                                      file.Write(Unsigned{0x100000000})}));
        }
        if constexpr (sizeof(Wide) > 2) {
            EXPECT_EQ(file.Write(Wide{0x10000}), kelStatusFailed);
        }
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
    kelFile file = Make();
    RefuseTooWide<long, unsigned long, wchar_t>(file);
    file.Close();
    EXPECT_EQ(Content(), "");
}

TEST_P(kelFileData, BlocksPositionsAndEnd_AreThoseOfTheLastOperation) {
    kelFile file = Make("0123456789");
    EXPECT_FALSE(file.EndOfFile()) << "nothing has met it yet";
    short block[8] = {};
    unsigned long long size = sizeof block;
    EXPECT_EQ(file.Read(block, size), kelStatusOk) << "a part is a success";
    EXPECT_EQ(size, 10U);
    EXPECT_TRUE(file.Read(block, size) == kelStatusFailed && size == 0);
    char byte = 0;
    EXPECT_TRUE(All(kelStatusOk,
                    {file.SeekToBegin(), file.Read(byte), file.WriteLine("ab"), file.Read(byte)}));
    EXPECT_EQ(byte, '3') << "a write goes behind what was read";
    EXPECT_TRUE(All(kelStatusOk, {file.Write('c'), file.Flush()}));
    EXPECT_EQ(Content(), "0ab3c56789");
    EXPECT_EQ(file.SeekToEnd(), kelStatusOk);
    EXPECT_TRUE(file.Read(byte) == kelStatusFailed && file.EndOfFile());
    EXPECT_EQ(file.SeekTo(-1), kelStatusFailed);
    EXPECT_FALSE(file.EndOfFile()) << "another failure hides the end";
    EXPECT_EQ(file.SeekTo(12), kelStatusOk) << "beyond the end";
    size = 3;
    EXPECT_TRUE(All(kelStatusOk, {file.Write(L"x", size), file.Close()}));
    EXPECT_EQ(Content(), std::string("0ab3c56789\0\0x\0\0", 15));
}

TEST_P(kelFileData, ReadLine_TakesLinesInPiecesThatFit) {
    const std::vector<std::tuple<const char*, unsigned long long, std::vector<std::string>>> cases =
        {{"a\r\nb", 16, {"a\r\n", "b"}}, {"abcdef\ng", 4, {"abc", "def", "\n", "g"}}, {"", 16, {}}};
    for (const auto& [content, size, lines] : cases) {
        kelFile file = Make(content);
        char buffer[16] = "x";
        EXPECT_EQ(file.ReadLine(buffer, 1), kelStatusOk) << "takes nothing";
        for (const std::string& line : lines) {
            EXPECT_EQ(file.ReadLine(buffer, size), kelStatusOk);
            EXPECT_EQ(buffer, line);
        }
        EXPECT_EQ(file.ReadLine(buffer, size), kelStatusFailed);
        EXPECT_TRUE(file.EndOfFile() && *buffer == '\0');
    }
}

TEST(kelFileClosed, EveryOperationFailsAndChangesNothing) {
    kelFile file;
    int value = 7;
    long wide = 7;
    unsigned long long size = 4;
    char line[4] = "abc";
    EXPECT_TRUE(All(kelStatusFailed,
                    {file.Read(value), file.Write(value), file.Read(wide), file.Read(&value, size),
                     file.Write(&value, size), file.ReadLine(line, 4), file.WriteLine(line),
                     file.SeekTo(0), file.SeekToEnd(), file.Flush(), file.Close()}));
    EXPECT_TRUE(file.EndOfFile() && value == 7 && size == 4 && line == std::string("abc"));
}

TEST(kelFileFullDevice, EveryLostWriteIsTold) {
    if (kOnWindows) {
        GTEST_SKIP() << "there is no device that is full";
    }
    const std::string block(10000, 'x');
    kelFile direct("/dev/full", kelFile::ModeWrite);
    unsigned long long size = block.size();
    EXPECT_EQ(direct.Write(block.data(), size), kelStatusFailed);
    EXPECT_TRUE(size == 0 && !direct.EndOfFile());
    for (const unsigned long long before : {0ULL, 1ULL, 4095ULL, 4096ULL}) {
        kelFile file("/dev/full", kelFile::ModeWrite | kBuffered);
        size = before;
        EXPECT_EQ(file.Write(block.data(), size), kelStatusOk) << before;
        size = block.size();
        EXPECT_EQ(file.Write(block.data(), size), kelStatusFailed) << before;
        EXPECT_EQ(size, 4096 - before) << "what the buffer still took";
        EXPECT_TRUE(All(kelStatusFailed, {file.Write(1), file.WriteLine("x"), file.Flush(),
                                          file.SeekToBegin(), file.Close()}));
        EXPECT_FALSE(file.IsOpen());
    }
}

TEST(kelFileFullDevice, WritingGoesOnWhereItStoppedWhenThereIsRoomAgain) {
    if (kOnWindows) {
        GTEST_SKIP() << "there is no limit to lift";
    }
    const TemporaryDirectory directory;
    std::string text(14000, 'x');
    std::generate(text.begin(), text.end(), std::minstd_rand());
    kelFile file(directory / "file", kCreate | kBuffered);
    unsigned long long taken = text.size();
    {
        const Guard full = FileSizeLimit(6000);
        EXPECT_TRUE(All(kelStatusFailed, {file.Write(text.data(), taken), file.Write(1),
                                          file.WriteLine("taken whole or not at all")}));
    }
    unsigned long long rest = text.size() - taken;
    EXPECT_TRUE(All(kelStatusOk, {file.Write(text.data() + taken, rest), file.Close()}));
    EXPECT_EQ(ReadWhole(directory / "file"), text);
}

TEST(Threads, ObjectsInAllOfThem_StartAndStopTheRuntimeSafely) {
    const TemporaryDirectory directory;
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([&, name = directory / std::to_string(number)] {
            for (int round = 0; round < 500; ++round) {
                kelFile file(name, kelFile::ModeRead | kelFile::ModeWrite | kelFile::ModeCreate);
                kelFile shared;
                shared = file;
                int value = -1;
                failures += shared.Write(round) + shared.SeekToBegin() != kelStatusOk;
                failures += file.Read(value) != kelStatusOk || value != round;
                failures += kelLibrary::GetAbsoluteFileName("~/$PATH")[0] == '~';
                failures += !kelFile::Exists(name);
                failures += kelDirectory::GetFileNames(directory.Path()).empty();
                kelLibrary().GetLocale();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
}

TEST(kelFileHugeBlock, BufferedWriteBeyond2GiB_IsWhole) {
    const unsigned long long wanted = (1ULL << 31U) + 5;
    const std::unique_ptr<void, void (*)(void*)> zeros(std::calloc(wanted, 1), std::free);
    kelFile file(kNullDevice, kelFile::ModeWrite | kelFile::ModeBuffered);
    unsigned long long size = wanted;
    EXPECT_EQ(file.Write(static_cast<const char*>(zeros.get()), size), kelStatusOk);
    EXPECT_EQ(size, wanted);
}

}  // namespace
