#include "support/Testing.h"

using namespace zukel::test;

namespace {

TEST(kelLibraryReasons, EveryClass_TellsTheNumberOfItsFailure) {
    const TemporaryDirectory directory;
    const std::string text = directory.Write("text"), missing = directory / "missing";
    const std::string odd = text + '\0' + "x";
    zuString out;
    char line[4];
    kelFile file(text, kRead);
    kelDirectory listing(directory.Path());
    kelProcess process;
    long long (*symbol)() = nullptr;
    zuDiskInfo disk;
    const struct {
        const char* name;
        std::function<void()> fail;
        int number, onWindows;
    } cases[] = {
        {"file, open", [&] { file.Open(missing, kRead); }, ENOENT, 2},
        {"file, name with a NUL", [&] { file.Open(odd, kRead); }, ENOENT, 2},
        {"file, closed", [&] { file.ReadLine(line, sizeof line); }, EBADF, 6},
        {"file, end", [&] { kelFile(text, kRead).ReadLine(line, sizeof line); }, ENODATA, 38},
        {"file, removed", [&] { kelFile::Delete(missing); }, ENOENT, 2},
        {"file, copied", [&] { kelFile::Copy(missing, text, 0); }, ENOENT, 2},
        {"file, exists", [&] { kelFile::Exists(missing); }, ENOENT, 2},
        {"file, no name", [&] { kelFile::Rename("", text); }, EINVAL, 87},
        {"facts", [&] { kelFileInfo(missing).GetSize(); }, ENOENT, 2},
        {"directory, open", [&] { kelDirectory().Open(missing); }, ENOENT, 2},
        {"directory, closed", [&] { kelDirectory().Close(); }, EBADF, 6},
        {"directory, names", [&] { kelDirectory::GetFileNames(missing); }, ENOENT, 2},
        {"directory, made", [&] { kelDirectory::Create(directory.Path(), 0x755, false); }, EEXIST,
         183},
        {"mapped file", [&] { kelMappedFile().Open(missing, kelMappedFile::ReadOnly); }, ENOENT, 2},
        {"mapped file, closed", [&] { kelMappedFile().Sync(); }, EBADF, 6},
        {"link", [&] { kelFile::ReadSymbolicLink(missing, out); }, ENOENT, 2},
        {"template", [&] { kelDirectory::CreateTemporary("XXXXX", out); }, EINVAL, 87},
        {"memory", [&] { kelSharedMemory().Attach(missing); }, ENOENT, 2},
        {"module", [&] { kelDynamicObject().FindSymbol(&symbol, "x"); }, EBADF, 6},
        {"process, start", [&] { process.Start("no-such-program-anywhere", false); }, ENOENT, 2},
        {"process, any", [&] { kelProcess::NativeKill(-1); }, EINVAL, 87},
        {"variable", [&] { kelLibrary().GetEnvironmentVariable(out, "ZUKEL_UNSET"); }, ENOENT, 2},
        {"time", [&] { kelTime(-1).GetFormatTime(out, "%Y"); }, EINVAL, 87},
        {"disk", [&] { kelSystem::GetFreeDiskSpace(missing.c_str(), disk); }, ENOENT, 2},
    };
    for (const auto& [name, fail, number, onWindows] : cases) {
        SCOPED_TRACE(name);
        kelProcess::NativeKill(-1);  // another failure before it
        fail();
        const int told = kelLibrary::GetErrorNumber();
        // Windows has several numbers for what is missing.
        const bool missed = kOnWindows && (told == 3 || told == 203);
        EXPECT_EQ(missed ? 2 : told, kOnWindows ? onWindows : number);
        EXPECT_EQ(kelFile::Exists(text), true);
        EXPECT_EQ(kelLibrary::GetErrorNumber(), told) << "a success changes nothing";
        EXPECT_FALSE(kelLibrary::GetErrorText().empty());
        EXPECT_TRUE(kOnWindows || kelLibrary::GetErrorText() == std::strerror(number));
    }
}

TEST(kelLibraryReasons, Threads_HaveTheirOwn) {
    kelFile::Delete("");
    int number = -1;
    std::string text = "none";
    std::thread([&] {
        number = kelLibrary::GetErrorNumber();
        text = kelLibrary::GetErrorText();
    }).join();
    EXPECT_EQ(number, 0);
    EXPECT_EQ(text, "");
    EXPECT_NE(kelLibrary::GetErrorNumber(), 0);
}

TEST(kelLibraryReasons, StatusTexts_AreOneForEach) {
    std::set<std::string> texts;
    for (int status = kelStatusFailed; status <= kelStatusTimedOut; ++status) {
        texts.insert(kelLibrary::GetStatusText(status));
    }
    EXPECT_EQ(texts.size(), 15U) << "eleven, three, and the one for the others";
    EXPECT_STREQ(kelLibrary::GetStatusText(kelStatusOk), "success");
    EXPECT_STREQ(kelLibrary::GetStatusText(-1), "unknown status");
}

}  // namespace
