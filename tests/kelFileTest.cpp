#include "support/Testing.h"

using namespace zukel::test;
using kelFileTest = InDirectory;

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

TEST_F(kelFileTest, Appending_GoesBehindWhateverOthersHavePutThere) {
    for (const int buffered : {0, kBuffered}) {
        SCOPED_TRACE(buffered);
        const int mode = kReadWrite | kelFile::ModeAppend | buffered;
        kelFile file(directory.Write("file", "old"), mode), other("file", mode);
        for (kelFile* each : {&file, &other, &file}) {
            EXPECT_THAT(Statuses({each->WriteLine("12"), each->Flush()}), Each(kOk));
        }
        EXPECT_EQ(ReadWhole("file"), "old121212");
        kelFile again("file", mode | kelFile::ModeTruncate);
        EXPECT_EQ(ReadWhole("file"), "");
        EXPECT_THAT(
            Statuses({other.WriteLine("4"), other.Flush(), again.WriteLine("5"), again.Close()}),
            Each(kOk));
        EXPECT_EQ(ReadWhole("file"), "45");
    }
}
