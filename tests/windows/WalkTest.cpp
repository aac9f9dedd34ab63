// What the walks ask of Windows, and answers of the system that Wine never gives.

#include <windows.h>

#include "faults/Walk.h"

#include <functional>

namespace zukel::test {

const char* const kOtherVolume = "D:";
const char* const kRemoval = "SetFileInformationByHandle";
const int kDenied = ERROR_ACCESS_DENIED;
const std::vector<int> kRefusals = {ERROR_NOT_SUPPORTED};

// A child gets the handles that its start names.
int Inheritable() {
    return 0;
}

void EndChild(int) {}

// A thread cannot be cancelled here.
void StepInThreads(const Row&) {}

namespace {

TEST(WindowsFaults, AnswersThatWineNeverGives) {
    const struct {
        const char* call;
        DWORD error;
        int times;  ///< The call fails so often.
        const char* what;
        std::function<int(World&)> run;
        int status;
        std::string file = "0123456789abcdef";
    } rows[] = {
        {"CopyFileW", ERROR_SHARING_VIOLATION, 9, "the target is held",
         [](World& it) { return kelFile::NativeCopy(it.program, it.file, 0); }, kFailed},
        {"CopyFileW", ERROR_ACCESS_DENIED, 9, "the target is hidden",
         [](World& it) { return kelFile::NativeCopy(it.program, it.file, 0); }, kFailed},
        {"CreateFileW", ERROR_ACCESS_DENIED, 1, "a hidden file is truncated",
         [](World& it) { return kelFile().Open(it.file, kWrite | kelFile::ModeTruncate); }, kOk,
         ""},
        {"CreateFileW", ERROR_ACCESS_DENIED, 9, "no file is truncated",
         [](World& it) { return kelFile().Open(it.file, kWrite | kelFile::ModeTruncate); },
         kelStatusAccessDenied},
        {"GetFileInformationByHandle", ERROR_GEN_FAILURE, 9, "a directory passes for a file",
         [](World& it) { return kelFile::Delete(it.folder); }, kFailed},
        {"GetFileInformationByHandleEx", ERROR_FILE_NOT_FOUND, 9, "the root of an empty volume",
         [](World& it) {
             return it.listing.ReadFirst(it.text) == kelStatusReadFailed ? kOk : kFailed;
         },
         kOk},
        {"OpenProcessToken", ERROR_ACCESS_DENIED, 9, "the file would be for everybody",
         [](World& it) { return kelFile().CreateTemporaryFile(it.missing + "XXXXXX"); },
         kelStatusAccessDenied},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.call) + ": " + row.what);
        World it;
        int left = row.times;
        const Guard answer =
            AtCall(row.call, [&] { return left-- > 0 ? static_cast<int>(row.error) : 0; });
        EXPECT_EQ(UnderFaults([&] { return row.run(it); }), row.status);
        EXPECT_EQ(ReadWhole(it.file), row.file);
        EXPECT_TRUE(fs::exists(it.folder));
    }
}

}  // namespace

}  // namespace zukel::test
