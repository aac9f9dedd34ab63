#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "kelDirectory.h"
#include "kelFile.h"
#include "kelFileInfo.h"
#include "kelLibrary.h"
#include "kelStatus.h"
#include "support/TemporaryDirectory.h"

using zukel::test::TemporaryDirectory;

namespace {

TEST(Threads, ObjectsInAllOfThem_StartAndStopTheRuntimeSafely) {
    constexpr int kThreads = 8;
    constexpr int kRounds = 500;
    const TemporaryDirectory directory;
    std::vector<std::thread> threads;
    std::vector<int> failures(kThreads, 0);
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            const std::string name = directory / std::to_string(number);
            int& failed = failures[static_cast<std::size_t>(number)];
            for (int round = 0; round < kRounds; ++round) {
                const kelLibrary library;
                kelFile file(name,
                             kelFile::ModeWrite | kelFile::ModeCreate | kelFile::ModeTruncate);
                failed += file.Write(round) != kelStatusOk;
                kelFile shared;
                shared = file;
                failed += shared.Close() != kelStatusOk;
                kelFile again(name, kelFile::ModeRead);
                int value = -1;
                failed += again.Read(value) != kelStatusOk || value != round;
                failed += kelFileInfo(name).GetSize() != 4;
                failed += kelLibrary::GetAbsoluteFileName("~/$PATH")[0] == '~';
                failed += kelDirectory::GetRelativePath(directory.Path(), "/") == "";
                library.GetLocale();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, std::vector<int>(kThreads, 0));
}

}  // namespace
