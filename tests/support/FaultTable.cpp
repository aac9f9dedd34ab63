#include "support/FaultTable.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <new>

#include "support/ChildRunner.h"

namespace fs = std::filesystem;

namespace zukel::test {

Entries Snapshot(const std::string& directory) {
    Entries all;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        all[entry.path().filename().string()] =
            entry.is_symlink()     ? "-> " + fs::read_symlink(entry.path()).string()
            : entry.is_directory() ? "directory"
                                   : ReadWhole(entry.path().string());
    }
    return all;
}

bool OnTwoVolumes() {
    struct stat one {
    }, two{};
    return stat("/dev/shm", &one) == 0 && stat(fs::temp_directory_path().c_str(), &two) == 0 &&
           one.st_dev != two.st_dev;
}

World::World() {
    fs::create_directory(place / "an empty directory, to be deleted");
    fs::permissions(program, fs::perms::owner_all);
    EXPECT_EQ(buffered.Write('0'), kOk) << "something to write out, which changes nothing";
    EXPECT_EQ(owner.Create(100, taken) + attached.Attach(taken), kOk);
}

World::~World() {
    fs::current_path(here);
    siginfo_t own{};
    if (pid != -1 &&
        waitid(P_PID, static_cast<id_t>(pid), &own, WEXITED | WNOHANG | WNOWAIT) == 0) {
        EXPECT_EQ(kill(pid, SIGKILL), 0) << "an object that was to end it has dropped it";
    }
    EXPECT_TRUE(pid == -1 || AllCollected());
}

World::State World::Names() const {
    return {Snapshot(place.Path()), Snapshot(beyond.Path()), fs::current_path()};
}

namespace {

void ExpectNothingHappened(World& it, const Row& row, const World::State& before) {
    const auto now = it.Names();
    if (row.after == After::Made && now != before) {
        EXPECT_TRUE(fs::is_directory(it.missing));
    } else if (row.after == After::NoPartOfIt && now != before) {
        EXPECT_TRUE(!fs::exists(it.to) || !FaultIsSingle());
        EXPECT_EQ(ReadWhole(it.from), std::get<0>(before).at("the source of a transfer"));
    } else if (row.after == After::UnderAnyName && !FaultIsSingle()) {
        EXPECT_EQ(std::get<0>(now), std::get<0>(before)) << "the source";
        const auto& left = std::get<1>(now);
        for (const auto& former : std::get<1>(before)) {
            EXPECT_TRUE(std::any_of(left.begin(), left.end(), [&](const auto& each) {
                return each.second == former.second;
            }));
        }
    } else {
        EXPECT_EQ(now, before);
    }
    EXPECT_EQ(it.Outputs(), "untouchedxxxxxxxx42");
    EXPECT_TRUE(it.size == 4 || it.size == 0);
}

/// One step of a walk over the row: whether its call succeeded.
bool Step(const Row& row) {
    bool succeeded = false;
    std::string segment;
    {
        World it;
        segment = it.missing;
        row.prepare(it);
        const auto before = it.Names();
        try {
            const int status = UnderFaults([&] { return row.call(it); });
            EXPECT_TRUE(status == kOk || status == row.failure) << status;
            succeeded = status == kOk;
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(FaultedSource(), FaultSource::Memory);
        }
        if (!succeeded) {
            ExpectNothingHappened(it, row, before);
            if (FaultIsSingle()) {
                EXPECT_EQ(row.call(it) == kOk, row.after != After::Ended) << "the same call again";
            }
        }
    }
    EXPECT_TRUE(kelSharedMemory().Remove(segment) != kOk || !FaultIsSingle()) << "a name is left";
    return succeeded;
}

}  // namespace

void Walk(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        WalkFaults(row.name, [&] { return Step(row); });
        if (testing::Test::HasFailure()) {
            return;
        }
    }
}

}  // namespace zukel::test
