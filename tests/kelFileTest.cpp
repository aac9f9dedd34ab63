#include "support/Testing.h"

using namespace zukel::test;
using kelFileTest = InDirectory;

namespace {

TEST_F(kelFileTest, Assignments_ShareOneFileAndCopiesAreClosed) {
    kelFile source(directory.Write("file", "abcd"), kRead), copy(source);
    kelFile target("former", kWrite | kBuffered);
    char byte = 0;
    EXPECT_FALSE(copy.IsOpen());
    EXPECT_EQ(target.WriteLine("closed"), kOk);
    target = source;
    EXPECT_EQ(ReadWhole("former"), "closed");
    EXPECT_THAT(Statuses({source.Read(byte), target.Read(byte)}), Each(kOk));
    EXPECT_EQ(byte, 'b') << "one position";
    kelFile() = target = *&target;
    EXPECT_TRUE(source.IsOpen()) << "the last owner closes, not the first";
    EXPECT_EQ(target.Close(), kOk);
    EXPECT_FALSE(source.IsOpen());
    EXPECT_EQ(source.GetFileName(), directory / "file") << "outlives the close";
}

TEST_F(kelFileTest, Open_Table) {
    directory.Write("file", "abcd");
    constexpr int kDenied = kelStatusAccessDenied, kNone = kelStatusNotFound;
    const struct {
        std::string name;
        int mode, status;
    } rows[] = {{"", kRead, kNone},
                {"no", kRead, kNone},
                {"no", kReadWrite, kNone},
                {"file/x", kRead, kFailed},
                {".", kRead, kOnWindows ? kDenied : kOk},
                {"file", 0, kDenied},
                {"file", kelFile::ModeCreate, kDenied},
                {"file", kWrite | kelFile::ModeExclusive, kFailed},
                {"file", kReadWrite | kelFile::ModeExclusive, kDenied},
                {"file", kRead | kBuffered, kOk},
                {kOddName, kWrite | kelFile::ModeExclusive, kOk}};
    for (const auto& [name, mode, status] : rows) {
        SCOPED_TRACE("\"" + name + "\", mode " + std::to_string(mode));
        kelFile file("file", kRead | kBuffered);
        char byte = 0;
        EXPECT_EQ(file.Read(byte), kOk);
        EXPECT_EQ(file.Open(name, mode), status);
        EXPECT_EQ(file.Read(byte), status == kOk && name == "file" ? kOk : kFailed);
        EXPECT_EQ(byte, 'a') << "from the start, and nothing that was read ahead";
        EXPECT_EQ(file.IsOpen(), status == kOk) << "nothing of the former one stays";
        EXPECT_EQ(file.GetFileName(), status == kOk ? name : "");
    }
    EXPECT_EQ(ReadWhole("file"), "abcd");
    EXPECT_EQ(kelFile().Open("file", kWrite | kelFile::ModeTruncate), kOk);
    EXPECT_EQ(ReadWhole("file"), "");
    kelFile passing("file", kRead | kelFile::ModeDeleteOnClose);
    fs::create_directory("other"), directory.Write("other/file");
    fs::current_path("other");
    EXPECT_EQ(passing.Close(), kOk);
    EXPECT_EQ(fs::exists("file"), kOnWindows) << "Linux: what has the name at the close";
    EXPECT_EQ(fs::exists("../file"), !kOnWindows) << "Windows: the file that was opened";
}

TEST_F(kelFileTest, CreateTemporaryFile_MakesTheNameFromTheTemplateAndRemovesIt) {
    const std::string slash = directory / "", full = slash + std::string(121 - slash.size(), 'n');
    for (const std::string& form :
         {slash + "XXXXX", full + "nXXXXXX", slash + "XXXXXXa", std::string()}) {
        kelFile file(directory.Write("former"), kRead);
        EXPECT_EQ(file.CreateTemporaryFile(form), kFailed) << form;
        EXPECT_FALSE(file.IsOpen()) << form;
    }
    for (const std::string& form :
         {std::string("aXXXXXX"), slash + "XXXXXXXXX", full + std::string(79, 'X')}) {
        SCOPED_TRACE(form);
        kelFile file(directory.Write("former"), kRead | kBuffered);
        EXPECT_THAT(Statuses({file.CreateTemporaryFile(form), file.Write('x')}), Each(kOk));
        const std::string name = file.GetFileName();
        const std::string kept = form.substr(0, std::min<std::size_t>(form.size() - 6, 121));
        EXPECT_EQ(name.size(), kept.size() + 6);
        EXPECT_TRUE(fs::exists(name)) << name;
        EXPECT_EQ(ModeOf(name), 0600U);
        EXPECT_THAT(name, testing::StartsWith(kOnWindows ? "" : kept));
        fs::current_path(fs::temp_directory_path());
        file.Close();
        fs::current_path(directory.Path());
        EXPECT_FALSE(fs::exists(name)) << name;
    }
}

/// Reads and writes that come out alike with and without a buffer.
class kelFileData : public InDirectory, public testing::WithParamInterface<int> {
protected:
    kelFile Make(const std::string& content = "", int mode = 0) const {
        return {directory.Write("file", content), kReadWrite | GetParam() | mode};
    }

    /// Writes the value, looks at its bytes in the file, reads it back, and then from a file that
    /// ends within it.
    /// @param bytes as they are where the lowest comes first.
    template <typename T>
    void RoundTrip(T value, std::string bytes) const {
        SCOPED_TRACE(value);
        const short first = 1;
        if (*reinterpret_cast<const char*>(&first) == 0) {
            std::reverse(bytes.begin(), bytes.end());
        }
        auto back = static_cast<T>(-1);  // all ones, but for fractions
        unsigned long long size = 1;
        kelFile file = Make(), closed, reading("file", kRead | GetParam());
        EXPECT_THAT(Statuses({file.Write(value), file.SeekToBegin(), file.Read(back)}), Each(kOk));
        EXPECT_EQ(back, value);
        EXPECT_EQ(ReadWhole("file"), bytes);
        EXPECT_EQ(file.Read(back), kFailed);
        EXPECT_TRUE(file.EndOfFile());
        EXPECT_THAT(Statuses({closed.Read(back), closed.Write(value), reading.Write(value),
                              closed.Read(&back, size), closed.Write(&value, size)}),
                    Each(kFailed));
        kelFile cut = Make("\x01");
        std::memset(&back, 0xEE, sizeof back);
        EXPECT_EQ(cut.Read(back), kOk);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&back), sizeof back),
                  "\x01" + std::string(sizeof back - 1, '\xEE'));
    }
};
INSTANTIATE_TEST_SUITE_P(Modes, kelFileData, testing::Values(0, kBuffered));

TEST_P(kelFileData, TypedValues_AreTheirBytesInMemoryAndComeBackOrAreRefused) {
    RoundTrip(static_cast<short>(-2), "\xFE\xFF");
    RoundTrip(static_cast<unsigned short>(0xABCD), "\xCD\xAB");
    RoundTrip(L'\u20AC', "\xAC\x20");
    RoundTrip(0xFFFFFFFEU, "\xFE\xFF\xFF\xFF");
    RoundTrip(-2147483647L - 1, std::string("\0\0\0\x80", 4));
    RoundTrip(2147483647L, "\xFF\xFF\xFF\x7F");
    RoundTrip(0xFFFFFFFFUL, "\xFF\xFF\xFF\xFF");
    RoundTrip(-2, "\xFE\xFF\xFF\xFF");
    RoundTrip('a', "a");
    RoundTrip(1.0F, std::string("\x00\x00\x80\x3F", 4));
    RoundTrip(1.0, std::string("\x00\x00\x00\x00\x00\x00\xF0\x3F", 8));
    if (!kOnWindows) {  // where the types are no wider than in the file
        RoundTrip(static_cast<wchar_t>(0xFFFF), "\xFF\xFF");
        kelFile file = Make();
        EXPECT_THAT(Statuses({file.Write(static_cast<wchar_t>(0x10000)),
                              file.Write(static_cast<wchar_t>(-1))}),
                    Each(kFailed));
        if (sizeof(long) > 4) {
            EXPECT_THAT(Statuses({file.Write(static_cast<long>(0x80000000LL)),
                                  file.Write(static_cast<long>(-0x80000001LL)),
                                  file.Write(static_cast<unsigned long>(0x100000000ULL))}),
                        Each(kFailed));
        }
        EXPECT_EQ(file.Close(), kOk);
        EXPECT_EQ(ReadWhole("file"), "");
    }
}

TEST_P(kelFileData, Appending_GoesBehindWhateverOthersHavePutThere) {
    constexpr int kAppend = kelFile::ModeAppend;
    kelFile file = Make("old", kAppend), other("file", kWrite | kAppend);
    for (kelFile* each : {&file, &other, &file}) {
        EXPECT_THAT(Statuses({each->WriteLine("12"), each->Flush()}), Each(kOk));
    }
    EXPECT_EQ(ReadWhole("file"), "old121212");
    kelFile again("file", kReadWrite | kAppend | kelFile::ModeTruncate | GetParam());
    EXPECT_EQ(ReadWhole("file"), "");
    EXPECT_THAT(Statuses({other.WriteLine("4"), again.WriteLine("5"), again.Close()}), Each(kOk));
    EXPECT_EQ(ReadWhole("file"), "45");
}

}  // namespace
