// Files, names and surroundings with every call below them failing in turn, and the pure work on
// names.

#include <gtest/gtest.h>

#include <vector>

#include "kelDirectory.h"
#include "kelFile.h"
#include "kelFileInfo.h"
#include "kelLibrary.h"
#include "kelStatus.h"
#include "support/Faults.h"
#include "support/TemporaryDirectory.h"

using namespace zukel::test;
using Library = kelLibrary;

namespace {

constexpr int kFailed = kelStatusFailed;
constexpr int kNoVariable = kelStatusNoVariable;
constexpr int kReadWrite = kelFile::ModeRead | kelFile::ModeWrite;
constexpr int kNewBuffered = kReadWrite | kelFile::ModeCreate | kelFile::ModeBuffered;

TEST(FileFaults, AnyCallFails_GivesTheFailureValueAndLeavesTheArgumentsAlone) {
    const TemporaryDirectory directory;
    const std::string name = directory.Write("a file with a name that is not short", "");
    std::string text;
    char line[8] = "";
    long wide = 0;
    unsigned long long size = 0;
    using Sources = std::vector<FaultSource>;
    const Sources runtime = {FaultSource::Runtime}, system = {FaultSource::System};
    const Sources both = {FaultSource::Runtime, FaultSource::Memory};
    using File = kelFile&;  // open, with something to write out when it has a buffer
    const std::tuple<Sources, int, std::function<int(File)>> operations[] = {
        {runtime, kFailed, [&](File file) { return file.Read(wide); }},
        {runtime, kFailed, [&](File file) { return file.Read(line, size); }},
        {runtime, kFailed, [&](File file) { return file.ReadLine(line, 8); }},
        {runtime, kFailed, [&](File file) { return file.Write(7); }},
        {runtime, kFailed, [&](File file) { return file.WriteLine("12345678"); }},
        {runtime, kFailed, [&](File file) { return file.SeekTo(2); }},
        {runtime, kFailed, [&](File file) { return file.Close(); }},
        {both, kFailed, [&](File) { return kelFile().Open(name, kNewBuffered); }},
        {system, kFailed, [&](File) { return kelFile().Open(name, kReadWrite | 0x800); }},
        {both, kFailed, [&](File) { return kelFile().CreateTemporaryFile(name + "XXXXXX"); }},
        {both, kelStatusNoUser, [&](File) { return Library().GetCurrentUserName(text); }},
        {both, kelStatusNoUser, [&](File) { return Library().GetUserDirectory(text); }},
        {both, kFailed, [&](File) { return Library().GetHostName(text); }},
        {both, kNoVariable, [&](File) { return Library().GetEnvironmentVariable(text, "PATH"); }},
        {both, kNoVariable, [&](File) { return Library().SetEnvironmentVariable("ZUKEL_X", ""); }},
        {both, true, [&](File) { return Library().GetTempDir().empty(); }},
        {both, true, [&](File) { return Library::GetAbsoluteFileName("~/x")[0] == '~'; }},
        {both, true, [&](File) { return kelDirectory::GetRelativePath("/", "/usr") == ""; }},
        {both, true, [&](File) { return kelFileInfo(name).GetSize() == -1; }}};
    const auto walk = [&](const auto& operation, FaultSource source, int buffered) {
        const auto& [sources, failure, call] = operation;
        WalkFaults(std::to_string(&operation - operations), source,
                   [&, &failed = failure, &made = call] {
                       directory.Write("a file with a name that is not short", "0123456789abcdef");
                       kelFile file(name, kReadWrite | buffered);
                       EXPECT_EQ(file.Write(0), kelStatusOk);
                       text = "untouched";
                       wide = 42;
                       size = 4;
                       std::fill(std::begin(line), std::end(line), 'x');
                       const int status = UnderFaults([&] { return made(file); });
                       if (status != kelStatusOk) {
                           EXPECT_EQ(status, failed);
                           EXPECT_TRUE(wide == 42 && (size == 0 || size == 4));
                           EXPECT_EQ(text + std::string(line, 8), "untouchedxxxxxxxx");
                           EXPECT_FALSE(file.IsOpen() && file.EndOfFile());
                       }
                       EXPECT_EQ(directory.Count(), 1U);
                       return status == kelStatusOk ? Outcome::Succeeded : Outcome::Failed;
                   });
    };
    for (const auto& operation : operations) {
        for (const auto source : std::get<0>(operation)) {
            walk(operation, source, 0);
            walk(operation, source, kelFile::ModeBuffered);
        }
    }
}

}  // namespace
