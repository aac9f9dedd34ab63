#include <clocale>

// As <windows.h> has them: the first stands before the header, the second comes after it.
#define GetEnvironmentVariable GetEnvironmentVariableA
#include "kelLibrary.h"
#define SetEnvironmentVariable SetEnvironmentVariableW
#include "support/Testing.h"

using namespace zukel::test;
using Library = kelLibrary;
using kelLibraryTest = InDirectory;

namespace {

TEST_F(kelLibraryTest, Variables_AreSeenByTheLibraryAndByGetenvAndListed) {
    constexpr int kNone = kelStatusNoVariable;
    const char* const name = "ZUKEL_TEST";
    Library library;
    zuString value = "untouched";
    zuStlVector<zuString> names;
    const auto listed = [&] {
        EXPECT_EQ(library.GetEnvironmentNames(names), kOk);
        return std::count(names.begin(), names.end(), name);
    };
    EXPECT_EQ(library.GetEnvironmentVariable(value, name), kNone);
    EXPECT_EQ(value, "untouched");
    EXPECT_EQ(listed(), 0);
    const zuString longest(kOnWindows ? 30000 : 102400, 'x');
    for (const auto& set : {zuString(kOnWindows ? "x" : ""), zuString(kOddName), longest}) {
        EXPECT_EQ(library.SetEnvironmentVariable(name, set), kOk);
        EXPECT_EQ(library.GetEnvironmentVariable(value, name), kOk);
        EXPECT_EQ(value, set);
        EXPECT_EQ(std::getenv(name), set);
        EXPECT_EQ(listed(), 1);
    }
    if (kOnWindows) {
        EXPECT_EQ(library.SetEnvironmentVariable(name, longest + longest), kNone);
        EXPECT_EQ(std::getenv(name), longest) << "nothing has changed";
        EXPECT_EQ(library.SetEnvironmentVariable(name, ""), kOk);
        EXPECT_EQ(std::getenv(name), nullptr) << "an empty value removes";
    }
    for (const char* const round : {"set", "unset already"}) {
        EXPECT_EQ(library.UnsetEnvironmentVariable(name), kOk) << round;
        EXPECT_EQ(listed(), 0) << round;
        EXPECT_EQ(std::getenv(name), nullptr) << round;
    }
    EXPECT_EQ(library.SetEnvironmentVariable(name, "B=C"), kOk);
    const zuString equals = name + zuString("=B"), nul("A\0B", 3);
    for (const zuString& bad : {zuString(), zuString("A=B"), equals, nul}) {
        EXPECT_EQ(library.GetEnvironmentVariable(value, bad), kNone) << bad;
        EXPECT_EQ(library.SetEnvironmentVariable(bad, "x"), kNone) << bad;
        EXPECT_EQ(library.UnsetEnvironmentVariable(bad), kNone) << bad;
    }
    EXPECT_EQ(Library::GetAbsoluteFileName("$" + equals), "$" + equals);
    EXPECT_EQ(library.GetEnvironmentVariable(value, name), kOk);
    EXPECT_EQ(value, "B=C");
}

TEST_F(kelLibraryTest, GetAbsoluteFileName_ExpandsTheFirstComponent) {
    Library library;
    library.SetEnvironmentVariable("ZUKEL_V", "c\\d");
    library.SetEnvironmentVariable("ZUKEL_TWICE", "$ZUKEL_V/$PLATFORM");
    library.SetEnvironmentVariable("PLATFORMS", "all");
    for (const auto& [name, expanded] : Table<2>(R"(
             a/$ZUKEL_V\b  a/c\d/b  $ZUKEL_TWICE    $ZUKEL_V/$PLATFORM  $PLATFORMS   all
             ~bob/x        ~bob/x   $ZUKEL_UNSET/b  $ZUKEL_UNSET/b  a$ZUKEL_V/b  a$ZUKEL_V/b)")) {
        EXPECT_EQ(Library::GetAbsoluteFileName(name), expanded) << name;
    }
    const bool native = ZUKEL_PLATFORM_TEXTS == std::string("native");
    const zuString platform = Library::GetPlatform(), prefix = Library::GetSharedLibPrefix();
    EXPECT_EQ(platform, native ? "linux64" : "win64");
    EXPECT_STREQ(Library::GetPlatformBase(), native ? "linux" : "win");
    EXPECT_EQ(Library::GetAbsoluteLibraryName("$PLATFORM\\lib.dll"),
              platform + "/" + prefix + "lib.dll" + Library::GetSharedLibSuffix());
}

TEST_F(kelLibraryTest, Programs_AreFoundAsTheyAreStarted) {
    zuString path = "before";
    EXPECT_EQ(Library::FindProgram("no-such-program-anywhere", path), kelStatusNotFound);
    EXPECT_EQ(Library::FindProgram("", path), kelStatusNotFound);
    EXPECT_EQ(Library::FindProgram(directory.Write("text"), path),
              kOnWindows ? kOk : kelStatusNotFound);
    EXPECT_EQ(Library::FindProgram(kOnWindows ? "cmd" : "sh", path), kOk);
    EXPECT_TRUE(fs::path(path).is_absolute()) << path;
    EXPECT_TRUE(fs::exists(path)) << path;
    EXPECT_EQ(Library::GetProgramPath(path), kOk);
    EXPECT_THAT(path, testing::HasSubstr("zukel_tests"));
    EXPECT_EQ(Library::FindProgram(path, path), kOk);
}

/// A text up to its NUL is the name of something else: of a file or a folder that must not suffer.
TEST_F(kelLibraryTest, NamesWithANul_AreThoseOfNothing) {
    directory.Write("file", "text");
    fs::create_directory("folder");
    kelLibrary library;
    EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_NUL", "value"), kOk);
    const zuString tail("\0tail", 5), variable = "ZUKEL_NUL" + tail;
    const zuString file = "file" + tail, folder = "folder" + tail, other = "other" + tail;
    const zuString segment = directory / "segment";
    kelSharedMemory memory;
    EXPECT_EQ(memory.Create(10, segment), kOk);
    zuString text = "untouched";
    const struct {
        const char* call;
        int status, expected;
    } rows[] = {
        {"Open", kelFile().Open(file, kRead), kelStatusNotFound},
        {"Open, new", kelFile().Open(other, kWrite), kelStatusNotFound},
        {"CreateTemporaryFile", kelFile().CreateTemporaryFile("XXXXXX" + tail), kFailed},
        {"Exists", kelFile::Exists(nullptr, file), kelStatusNotFound},
        {"Copy from", kelFile::Copy(file, "other", 0x644), kFailed},
        {"Copy to", kelFile::Copy("file", other, 0x644), kFailed},
        {"NativeCopy", kelFile::NativeCopy("file", other, 0), kFailed},
        {"Rename", kelFile::Rename(file, "other"), kFailed},
        {"NativeRename", kelFile::NativeRename("file", other), kFailed},
        {"SetPermissions", kelFile::SetPermissions(file, 0x400), kFailed},
        {"Delete", kelFile::Delete(file), kFailed},
        {"facts", kelFileInfo(file).GetType(), kelFileInfo::NoFile},
        {"kelDirectory::Open", kelDirectory().Open(folder), kFailed},
        {"Create", kelDirectory::Create(other, 0x755, false), kFailed},
        {"Create with parents", kelDirectory::Create(other, 0x755, true), kFailed},
        {"kelDirectory::Delete", kelDirectory::Delete(folder), kFailed},
        {"SetCurrentDirectory", kelDirectory::SetCurrentDirectory(folder), kFailed},
        {"GetEnvironmentVariable", library.GetEnvironmentVariable(text, variable),
         kelStatusNoVariable},
        {"name", library.SetEnvironmentVariable(variable, "x"), kelStatusNoVariable},
        {"value", library.SetEnvironmentVariable("ZUKEL_NUL", other), kelStatusNoVariable},
        {"LoadLibrary", kelDynamicObject().LoadLibrary(ZUKEL_TEST_MODULES "/first.dll" + tail),
         kFailed},
        {"Start", kelProcess().Start(ZUKEL_TEST_CHILD + tail, false), kFailed},
        {"an argument", kelProcess().Start(ZUKEL_TEST_CHILD, {file}, false), kFailed},
        {"a directory", kelProcess().Start(ZUKEL_TEST_CHILD, {}, folder, false), kFailed},
        {"a segment", kelSharedMemory().Create(10, other), kFailed},
        {"Attach", kelSharedMemory().Attach(segment + tail), kFailed},
        {"Remove", kelSharedMemory().Remove(segment + tail), kFailed},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.status, row.expected) << row.call;
    }
    EXPECT_EQ(memory.Destroy(), kOk);
    EXPECT_TRUE(kelDirectory::GetFileNames(folder).empty());
    EXPECT_EQ(Library::GetAbsoluteFileName("$" + variable), "$" + variable);
    EXPECT_EQ(library.GetEnvironmentVariable(text, "ZUKEL_NUL"), kOk);
    EXPECT_EQ(text, "value");
    EXPECT_EQ(ReadWhole("file"), "text");
    EXPECT_EQ(directory.Count(), 2);
}

TEST_F(kelLibraryTest, Reasons_AreTheNumberOfTheLastFailureInEveryClass) {
    directory.Write("text");
    zuString out;
    zuStlVector<zuString> names;
    char line[4];
    kelFile file("text", kRead);
    long long (*symbol)() = nullptr;
    zuDiskInfo disk;
    constexpr int kMissing = ENOENT, kClosed = EBADF, kWrong = EINVAL;
    const struct {
        const char* name;
        std::function<void()> fail;
        int number, onWindows;
    } rows[] = {
        {"file, open", [&] { file.Open("no", kRead); }, kMissing, 2},
        {"file, NUL",
         [&] {
             file.Open({"text\0x", 6}, kRead);
         },
         kMissing, 2},
        {"file, closed", [&] { file.ReadLine(line, sizeof line); }, kClosed, 6},
        {"file, end", [&] { kelFile("text", kRead).ReadLine(line, sizeof line); }, ENODATA, 38},
        {"file, removed", [&] { kelFile::Delete("no"); }, kMissing, 2},
        {"file, copied", [&] { kelFile::Copy("no", "text", 0); }, kMissing, 2},
        {"file, exists", [&] { kelFile::Exists("no"); }, kMissing, 2},
        {"file, no name", [&] { kelFile::Rename("", "text"); }, kWrong, 87},
        {"file, read whole", [&] { kelFile::ReadWhole("", out); }, kWrong, 87},
        {"file, replaced", [&] { kelFile::ReplaceWhole("", ""); }, kWrong, 87},
        {"names of none", [&] { kelDirectory::GetFileNames("", names); }, kWrong, 87},
        {"facts", [&] { kelFileInfo("no").GetSize(); }, kMissing, 2},
        {"directory, open", [&] { kelDirectory().Open("no"); }, kMissing, 2},
        {"directory, closed", [&] { kelDirectory().Close(); }, kClosed, 6},
        {"directory, names", [&] { kelDirectory::GetFileNames("no"); }, kMissing, 2},
        {"directory, made", [&] { kelDirectory::Create(".", 0x755, false); }, EEXIST, 183},
        {"mapped file", [&] { kelMappedFile().Open("no", kelMappedFile::ReadOnly); }, kMissing, 2},
        {"mapped file, closed", [&] { kelMappedFile().Sync(); }, kClosed, 6},
        {"link", [&] { kelFile::ReadSymbolicLink("no", out); }, kMissing, 2},
        {"template", [&] { kelDirectory::CreateTemporary("XXXXX", out); }, kWrong, 87},
        {"memory", [&] { kelSharedMemory().Attach(directory / "no"); }, kMissing, 2},
        {"module", [&] { kelDynamicObject().FindSymbol(&symbol, "x"); }, kClosed, 6},
        {"process, start", [&] { kelProcess().Start("no-such-program", false); }, kMissing, 2},
        {"process, any", [&] { kelProcess::NativeKill(-1); }, kWrong, 87},
        {"variable", [&] { Library().GetEnvironmentVariable(out, "ZUKEL_UNSET"); }, kMissing, 2},
        {"time", [&] { kelTime(-1).GetFormatTime(out, "%Y"); }, kWrong, 87},
        {"disk", [&] { kelSystem::GetFreeDiskSpace("no", disk); }, kMissing, 2},
    };
    for (const auto& [name, fail, number, onWindows] : rows) {
        SCOPED_TRACE(name);
        number == kWrong ? kelFile::Delete("no") : kelProcess::NativeKill(-1);  // another failure
        fail();
        const int told = Library::GetErrorNumber();
        // Windows has several numbers for what is missing.
        const bool missed = kOnWindows && (told == 3 || told == 203);
        EXPECT_EQ(missed ? 2 : told, kOnWindows ? onWindows : number);
        EXPECT_TRUE(kelFile::Exists("text"));
        EXPECT_EQ(Library::GetErrorNumber(), told) << "a success changes nothing";
        const std::string text = Library::GetErrorText();
        EXPECT_NE(text, "");
        EXPECT_EQ(text, kOnWindows ? text : std::strerror(number));
    }
}

TEST_F(kelLibraryTest, Threads_HaveReasonsOfTheirOwn) {
    kelFile::Delete("");
    std::thread([] {
        EXPECT_EQ(Library::GetErrorNumber(), 0);
        EXPECT_EQ(Library::GetErrorText(), "");
    }).join();
    EXPECT_NE(Library::GetErrorNumber(), 0);
}

TEST_F(kelLibraryTest, StatusTexts_AreOneForEach) {
    std::set<std::string> texts;
    for (int status = kelStatusFailed; status <= kelStatusTimedOut; ++status) {
        texts.insert(Library::GetStatusText(status));
    }
    EXPECT_EQ(texts.size(), 15U) << "eleven, three, and the one for the others";
    EXPECT_STREQ(Library::GetStatusText(kelStatusOk), "success");
    EXPECT_STREQ(Library::GetStatusText(-1), "unknown status");
}

}  // namespace
