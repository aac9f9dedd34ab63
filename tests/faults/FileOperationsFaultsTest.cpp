#include <apr_file_io.h>
#include <apr_general.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "kelFile.h"
#include "kelLibrary.h"
#include "kelStatus.h"
#include "support/Faults.h"
#include "support/TemporaryDirectory.h"
#include "support/Volume.h"
#include "zubase/zuWString.h"

namespace fs = std::filesystem;
using zukel::test::AtCall;
using zukel::test::FaultReach;
using zukel::test::Faults;
using zukel::test::FaultSource;
using zukel::test::OnSmallVolume;
using zukel::test::Outcome;
using zukel::test::ReadWhole;
using zukel::test::TemporaryDirectory;
using zukel::test::UnderFaults;
using zukel::test::WalkFaults;

namespace {

constexpr int kDefault = 0x0FFF;
constexpr int kOfSource = 0x1000;

Outcome OutcomeOf(bool succeeded) {
    return succeeded ? Outcome::Succeeded : Outcome::Failed;
}

struct Step {
    const char* name;
    std::function<int(const std::string&, const std::string&)> run;
};

TEST(FileOperationsFaults, Copy_AnyCallFails_LeavesTheSourceWholeAndNoPartOfTheTarget) {
    const TemporaryDirectory directory;
    const std::string content(70000, 'c');
    const std::string from = directory.Write("from", content);
    const std::string sparse = directory / "sparse";
    directory.Write("sparse", content);
    fs::resize_file(sparse, 400000);
    fs::permissions(from, fs::perms(04751));
    const std::string sparseContent = ReadWhole(sparse);
    const std::vector<Step> copies = {
        {"Copy", [](const auto& a, const auto& b) { return kelFile::Copy(a, b, 0x644); }},
        {"Copy permissions",
         [](const auto& a, const auto& b) { return kelFile::Copy(nullptr, a, b, kOfSource); }},
        {"NativeCopy", [](const auto& a, const auto& b) { return kelFile::NativeCopy(a, b, 0); }}};
    const std::string to = directory / "to";
    for (const Step& step : copies) {
        for (const bool exists : {false, true}) {
            for (const bool inKernel : {true, false}) {
                for (const bool holes : {true, false}) {
                    for (const FaultSource source : {FaultSource::System, FaultSource::Memory}) {
                        if (source == FaultSource::Memory && inKernel) {
                            continue;  // needs none
                        }
                        WalkFaults(step.name, source, [&] {
                            const AtCall kernelCopy(inKernel ? "none" : "copy_file_range",
                                                    [] { return EXDEV; });
                            fs::remove(to);
                            if (exists) {
                                directory.Write("to", "old");
                            }
                            const bool copied = UnderFaults([&] {
                                                    return step.run(holes ? sparse : from, to);
                                                }) == kelStatusOk;
                            EXPECT_TRUE(ReadWhole(from) == content);
                            if (copied) {
                                EXPECT_TRUE(ReadWhole(to) == (holes ? sparseContent : content));
                            } else if (Faults::IsSingle() && fs::exists(to)) {
                                EXPECT_EQ(ReadWhole(to), "old");
                                EXPECT_TRUE(exists);
                            }
                            return OutcomeOf(copied);
                        });
                    }
                }
            }
        }
    }
}

/// Names of a directory's entries and what the files hold.
std::vector<std::string> Snapshot(const std::string& directory) {
    std::vector<std::string> all;
    for (const auto& entry : fs::directory_iterator(directory)) {
        all.push_back(entry.path().filename().string() + ":" +
                      (entry.is_symlink() ? fs::read_symlink(entry.path()).string()
                                          : ReadWhole(entry.path().string())));
    }
    std::sort(all.begin(), all.end());
    return all;
}

TEST(FileOperationsFaults, RenameAcrossVolumes_AnyCallFails_IsWholeOrNotAtAll) {
    const std::string content(300000, 'm');
    const bool mounted = OnSmallVolume("size=4m", [&](const std::string& volume) {
        const TemporaryDirectory directory;
        const std::string from = directory / "from";
        const std::string to = volume + "/to";
        struct System {
            const char* lacks;
            int error;
        };
        for (const System& system : std::vector<System>{{"none", 0},
                                                        {"renameat2", EINVAL},  // no exchange
                                                        {"linkat", EPERM}}) {
            for (const bool exists : {false, true}) {
                for (const bool link : {false, true}) {
                    const auto prepare = [&] {
                        for (const auto& entry : fs::directory_iterator(volume)) {
                            fs::remove(entry);
                        }
                        fs::remove(from);
                        if (link) {
                            fs::create_symlink("somewhere", from);
                        } else {
                            directory.Write("from", content);
                        }
                        if (exists) {
                            std::ofstream(to) << "old";
                        }
                    };
                    prepare();
                    const auto sourceBefore = Snapshot(directory.Path());
                    const auto targetBefore = Snapshot(volume);
                    const std::string targetAfter = "to:" + (link ? "somewhere" : content);
                    WalkFaults(
                        std::string("Rename without ") + system.lacks, FaultSource::System, [&] {
                            prepare();
                            const AtCall lacking(system.lacks, [&] { return system.error; });
                            const bool moved = UnderFaults([&] {
                                                   return kelFile::Rename(from, to);
                                               }) == kelStatusOk;
                            if (moved) {
                                EXPECT_EQ(directory.Count(), 0U);
                            } else {
                                EXPECT_TRUE(Snapshot(directory.Path()) == sourceBefore);
                            }
                            // Where clearing up fails too, a name is left behind, but nothing is
                            // lost.
                            const auto now = Snapshot(volume);
                            if (Faults::IsSingle() && !moved) {
                                EXPECT_TRUE(now == targetBefore);
                            }
                            EXPECT_LE(now.size(), 3U);
                            if (moved) {
                                EXPECT_EQ(now.back(), targetAfter);
                            } else if (exists) {
                                EXPECT_TRUE(
                                    std::any_of(now.begin(), now.end(), [](const auto& entry) {
                                        return entry.substr(entry.find(':')) == ":old";
                                    }));
                            }
                            return OutcomeOf(moved);
                        });
                }
            }
        }
    });
    if (!mounted) {
        GTEST_SKIP() << "may not mount a second volume";
    }
}

TEST(FileOperationsFaults, SourceThatChangesWhileItIsMoved_StaysAndSoDoesTheTarget) {
    const bool mounted = OnSmallVolume("size=1m", [](const std::string& volume) {
        const TemporaryDirectory directory;
        const std::string from = directory / "from";
        std::ofstream(volume + "/to") << "old";
        const std::vector<std::function<void()>> changes = {
            [&] { std::ofstream(from, std::ios::app) << "more"; },
            [&] { fs::remove(from), directory.Write("from", "another"); },
            [&] { fs::last_write_time(from, fs::file_time_type::clock::now()); }};
        for (const auto& change : changes) {
            directory.Write("from", "content");
            fs::last_write_time(from, fs::file_time_type::clock::now() - std::chrono::hours(1));
            const AtCall copied("fsync", [&] { return change(), 0; });
            EXPECT_EQ(UnderFaults([&] { return kelFile::Rename(from, volume + "/to"); }),
                      kelStatusFailed);
            EXPECT_EQ(Snapshot(volume), std::vector<std::string>{"to:old"});
            EXPECT_TRUE(fs::exists(from));
        }
    });
    if (!mounted) {
        GTEST_SKIP() << "may not mount a second volume";
    }
}

TEST(FileOperationsFaults, FailedCopy_RemovesTheTargetOnlyWhileItIsTheSameFile) {
    const TemporaryDirectory directory;
    const std::string from = directory.Write("from", "content");
    const std::string to = directory.Write("to", "old");
    const AtCall someoneElse("copy_file_range", [&] {
        fs::rename(to, directory / "away");
        directory.Write("to", "another's");
        return EIO;
    });
    const Faults fault(FaultSource::Memory, 1, FaultReach::FromThenOn);
    EXPECT_EQ(UnderFaults([&] { return kelFile::Copy(from, to, kDefault); }), kelStatusFailed);
    EXPECT_EQ(ReadWhole(to), "another's");
}

TEST(FileOperationsFaults, OtherOperations_TheCallFails_IsTold) {
    const TemporaryDirectory directory;
    const std::string file = directory / "file";
    const std::vector<std::pair<const char*, std::function<bool()>>> withRuntime = {
        {"Rename", [&] { return kelFile::Rename(file, directory / "new") == kelStatusOk; }},
        {"Delete", [&] { return kelFile::Delete(nullptr, file) == kelStatusOk; }},
        {"Exists", [&] { return kelFile::Exists(file); }},
        {"Exists status", [&] { return kelFile::Exists(nullptr, file) == kelStatusOk; }}};
    for (const auto& [name, operation] : withRuntime) {
        WalkFaults(name, FaultSource::Runtime, [&, &operation = operation] {
            directory.Write("file", "content");
            const bool done = UnderFaults(operation);
            EXPECT_TRUE(done || ReadWhole(file) == "content");
            return OutcomeOf(done);
        });
    }
    kelFile object(directory.Write("file", "content"), kelFile::ModeRead);
    const std::vector<std::pair<const char*, std::function<bool()>>> withSystem = {
        {"NativeRename", [&] { return kelFile::NativeRename(file, file) == kelStatusOk; }},
        {"SetPermissions", [&] { return kelFile::SetPermissions(file, 0x600) == kelStatusOk; }},
        {"IsReadable", [&] { return object.IsReadable(); }},
        {"IsWritable", [&] { return object.IsWritable(); }}};
    for (const auto& [name, operation] : withSystem) {
        WalkFaults(name, FaultSource::System,
                   [&, &operation = operation] { return OutcomeOf(UnderFaults(operation)); });
    }
}

TEST(FileOperationsFaults, Copy_HasTheResultOfTheRuntimesCopy) {
    const TemporaryDirectory directory;
    const std::string from = directory.Write("from", "content");
    fs::permissions(from, fs::perms(0604));
    const mode_t umaskBefore = umask(026);
    apr_initialize();
    apr_pool_t* pool = nullptr;
    apr_pool_create(&pool, nullptr);
    const auto result = [&](bool done) {
        struct stat status {};
        const std::string to = directory / "to";
        std::string text = done ? "done " : "failed ";
        if (stat(to.c_str(), &status) == 0) {
            text += std::to_string(status.st_mode) + " " + ReadWhole(to);
        }
        return text;
    };
    for (const int perms : {0, 0x644, 0x777, 0xF755, 0x1755, 0x0888, 0x7FFFFFFF, -1, kDefault}) {
        for (const bool exists : {false, true}) {
            std::string results[2];
            for (const bool ours : {false, true}) {
                fs::remove(directory / "to");
                if (exists) {
                    directory.Write("to", "longer than the source");
                }
                results[ours] =
                    result(ours ? kelFile::Copy(from, directory / "to", perms) == kelStatusOk
                                : apr_file_copy(from.c_str(), (directory / "to").c_str(), perms,
                                                pool) == 0);
            }
            EXPECT_EQ(results[1], results[0]) << std::hex << perms << exists;
        }
    }
    umask(077);
    for (const bool exists : {false, true}) {
        fs::remove(directory / "to");
        if (exists) {
            directory.Write("to", "longer than the source");
        }
        EXPECT_EQ(kelFile::Copy(from, directory / "to", kOfSource), kelStatusOk);
        EXPECT_EQ(fs::status(directory / "to").permissions(), fs::perms(0604))
            << "whatever the umask";
    }
    umask(umaskBefore);
    apr_pool_destroy(pool);
    apr_terminate();
}

TEST(WideNames, AnyBytes_ComeBack) {
    struct Case {
        std::string name;
        std::wstring wide;
    };
    const std::vector<Case> cases = {
        {"", L""},
        {"plain", L"plain"},
        {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", L"\u00E4\u20AC\U0001F600"},
        {"\xEF\xBF\xBD", L"\uFFFD"},
        {"\xFF"
         "a\xC3",
         L"\xDCFF"
         L"a\xDCC3"},
        {"\xED\xB2\x80", L"\xDCED\xDCB2\xDC80"},
        {"\xC0\xAF\xF4\x90\x80\x80", L"\xDCC0\xDCAF\xDCF4\xDC90\xDC80\xDC80"},
        {std::string("cut\0off", 7), L"cut"},
    };
    for (const Case& test : cases) {
        const zuWString wide(test.name);
        EXPECT_EQ(wide.c_str(), test.wide);
        EXPECT_EQ(zukel::Narrow(wide.c_str()), test.name.c_str());
    }
    for (unsigned value = 0x100; value < 0x10000; ++value) {  // each pair of bytes but NUL
        const std::string name = {static_cast<char>(value >> 8U),
                                  static_cast<char>((value & 0xFFU) == 0 ? 1 : value)};
        ASSERT_EQ(zukel::Narrow(zuWString(name).c_str()), name);
    }
}

}  // namespace
