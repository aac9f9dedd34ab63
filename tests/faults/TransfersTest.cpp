// Copies and moves with every call below them failing in turn, and moves to another volume.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

#include "support/FaultTable.h"

namespace fs = std::filesystem;
using namespace zukel::test;

namespace {

TEST(FaultWalk, Transfers) {
    if (!OnTwoVolumes()) {
        GTEST_SKIP() << "there is no second volume";
    }
    struct Way {
        const char* name;
        After after;
        const char* lacks;  ///< A call that the system does not have, and how it says so.
        int error;
        std::function<int(World&)> run;
    };
    const auto copy = [](World& it) { return kelFile::Copy(it.from, it.to, 0x644); };
    const auto full = [](World& it) { return kelFile::Copy(it.from, it.to, 0x1000); };
    const auto native = [](World& it) { return kelFile::NativeCopy(it.from, it.to, 0); };
    const auto move = [](World& it) { return kelFile::Rename(it.from, it.to); };
    const auto rename = [](World& it) { return kelFile::NativeRename(it.from, it.to); };
    const Way ways[] = {
        {"copy", After::NoPartOfIt, "", 0, copy},
        {"copy by blocks", After::NoPartOfIt, "copy_file_range", EXDEV, copy},
        {"copy with permissions", After::NoPartOfIt, "", 0, full},
        {"native copy", After::NoPartOfIt, "", 0, native},
        {"move", After::UnderAnyName, "", 0, move},
        {"move without exchange", After::UnderAnyName, "renameat2", EINVAL, move},
        {"move without links", After::UnderAnyName, "linkat", EPERM, move},
        {"native rename", After::AsBefore, "", 0, rename},
    };
    for (const Way& way : ways) {
        for (const bool exists : {false, true}) {
            for (const std::string kind : {"plain", "sparse", "link"}) {
                const bool moves = way.after == After::UnderAnyName;
                if (kind == (moves ? "sparse" : "link")) {
                    continue;
                }
                const auto prepare = [&](World& it) {
                    it.to = moves ? it.beyond / "the target of a transfer" : it.to;
                    if (kind == "link") {
                        fs::create_symlink("somewhere", it.from);
                    } else {
                        fs::resize_file(
                            it.place.Write("the source of a transfer", std::string(9000, 'c')),
                            kind == "sparse" ? 100000 : 9000);
                    }
                    // Where the volume has such attributes.
                    setxattr(it.from.c_str(), "user.zukel", "a", 1, 0);
                    if (exists) {
                        std::ofstream(it.to) << "old";
                    }
                };
                const auto call = [&](World& it) {
                    const Guard lacking = AtCall(way.lacks, [&] { return way.error; });
                    const auto source = [&] {
                        const Guard own = Counting(false);
                        return Snapshot(it.place.Path())["the source of a transfer"];
                    }();
                    const int status = way.run(it);
                    const Guard own = Counting(false);
                    EXPECT_TRUE(
                        status != kOk ||
                        Snapshot(fs::path(it.to).parent_path())["the target of a transfer"] ==
                            source);
                    EXPECT_TRUE(status != kOk || way.after == After::NoPartOfIt ||
                                !fs::exists(fs::symlink_status(it.from)));
                    return status;
                };
                Walk({{way.name, kFailed, call, way.after, prepare}});
            }
        }
    }
}

TEST(Transfers, AcrossVolumes_CarryTheFactsAndLeaveASourceThatChanges) {
    if (!OnTwoVolumes()) {
        GTEST_SKIP() << "there is no second volume";
    }
    World it;
    const std::string to = it.beyond / "to";
    const auto time = fs::last_write_time(it.file) - std::chrono::nanoseconds(1234567890123);
    fs::last_write_time(it.file, time);
    fs::permissions(it.file, fs::perms(04751));
    {
        const Guard copied = AtCall("fsync", [&] { return fs::resize_file(it.file, 9), 0; });
        EXPECT_NE(UnderFaults([&] { return kelFile::Rename(it.file, to); }), kOk);
        EXPECT_TRUE(Snapshot(it.beyond.Path()).empty() && fs::file_size(it.file) == 9);
    }
    fs::last_write_time(it.file, time);
    EXPECT_EQ(kelFile::Rename(it.file, it.beyond.Path()), kFailed) << "a directory";
    EXPECT_EQ(kelFile::Rename(it.file, to), kOk);
    EXPECT_EQ(fs::status(to).permissions(), fs::perms(04751));
    EXPECT_TRUE(fs::last_write_time(to) == time);
    fs::current_path(it.beyond.Path());
    EXPECT_EQ(kelFile::Rename("to", it.file), kOk) << "a name without a folder";
    EXPECT_EQ(kelFile::Rename(it.file, "to"), kOk);
    EXPECT_EQ(kelFile::Rename("to", it.place / ""), kFailed) << "no name at all";
    if (geteuid() == 0) {  // what runs as its owner must not come to run as another
        EXPECT_EQ(chown("to", 65534, 65534) + chmod("to", 06751), 0);
        EXPECT_EQ(kelFile::NativeCopy("to", it.missing, 0), kOk);
        EXPECT_EQ(fs::status(it.missing).permissions(), fs::perms(0751));
        EXPECT_EQ(kelFile::Rename("to", it.from), kOk);
        EXPECT_EQ(fs::status(it.from).permissions(), fs::perms(06751));
    }
}

}  // namespace
