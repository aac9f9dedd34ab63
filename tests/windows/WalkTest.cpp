// What the walks ask of Windows, and answers of the system that Wine never gives.

#include <windows.h>

#include "faults/Walk.h"

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

/// Errors of calls that Windows returns where Wine 8 does not, or not for root.
TEST(WindowsFaults, AnswersThatWineNeverGives_LoseNothing) {
    constexpr int kTruncate = kWrite | kelFile::ModeTruncate;
    const struct {
        const char* call;
        DWORD error;
        int first, last;  ///< Which of the calls fail, from 1.
        Row operation;
        int status;
        std::string file = "0123456789abcdef";  ///< What it holds then.
    } rows[] = {
        // The target is held, or hidden.
        {"CopyFileW", ERROR_SHARING_VIOLATION, 1, 9,
         ROW(kelFile::NativeCopy(it.program, it.file, 0)), kFailed},
        {"CopyFileW", ERROR_ACCESS_DENIED, 1, 9, ROW(kelFile::NativeCopy(it.program, it.file, 0)),
         kFailed},
        // CREATE_ALWAYS refuses a hidden file; then TRUNCATE_EXISTING does too.
        {"CreateFileW", ERROR_ACCESS_DENIED, 1, 1, ROW(kelFile().Open(it.file, kTruncate)), kOk,
         ""},
        {"CreateFileW", ERROR_ACCESS_DENIED, 1, 9, ROW(kelFile().Open(it.file, kTruncate)),
         kelStatusAccessDenied},
        // The former temporary file is removed, and still open somewhere.
        {"CreateFileW", ERROR_ACCESS_DENIED, 3, 3, ROW(kelFile::ReplaceWhole(it.missing, kNew)),
         kOk},
        // The first call is that of the opening. The root of an empty volume has no entry.
        {"GetFileInformationByHandleEx", ERROR_FILE_NOT_FOUND, 2, 9,
         ROW(Directory::GetFileNames(it.folder, it.names)), kOk},
        {"GetFileInformationByHandle", ERROR_GEN_FAILURE, 1, 9, ROW(kelFile::Delete(it.folder)),
         kFailed},
        {"OpenProcessToken", ERROR_ACCESS_DENIED, 1, 9,
         ROW(kelFile().CreateTemporaryFile(it.missing + "XXXXXX")), kelStatusAccessDenied},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.call) + " fails in " + row.operation.name);
        World it;
        int calls = 0;
        const Guard answer = AtCall(row.call, [&] {
            ++calls;
            return row.first <= calls && calls <= row.last ? static_cast<int>(row.error) : 0;
        });
        EXPECT_EQ(UnderFaults([&] { return row.operation.call(it); }), row.status);
        EXPECT_GE(calls, row.first) << "it was not called";
        EXPECT_EQ(ReadWhole(it.file), row.file);
        EXPECT_TRUE(fs::exists(it.folder));
    }
}

}  // namespace zukel::test
