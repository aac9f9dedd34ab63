// LevelDB on the environment of examples/leveldbenv: writers that are killed, and what the
// interface of an environment promises.

#include "leveldbenv/Environment.h"

#include <leveldb/db.h>

#include <map>
#include <memory>

#include "support/Testing.h"

using namespace zukel::test;

namespace {

using Database = std::unique_ptr<leveldb::DB>;

Database Opened(Environment& environment, const std::string& name, leveldb::Status& status) {
    leveldb::Options options;
    options.env = &environment;
    options.paranoid_checks = true;
    leveldb::DB* database = nullptr;
    status = leveldb::DB::Open(options, name, &database);
    return Database(database);
}

std::vector<std::string> Lines(const std::string& path) {
    std::vector<std::string> lines;
    std::istringstream text(ReadWhole(path));
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// What was stored, as it goes in and as it has to come out.
class Model {
public:
    explicit Model(unsigned seed) : random_(seed) {}

    unsigned Below(unsigned limit) {
        return std::uniform_int_distribution<unsigned>(0, limit - 1)(random_);
    }

    /// Lines to be loaded: few keys, so that values are replaced, and values of any length.
    std::string NextLines() {
        next_.clear();
        std::string text;
        for (int number = 0; number < 2000; ++number) {
            const std::string key = "key" + std::to_string(Below(200));
            const std::string value = std::to_string(++written_) + std::string(Below(1500), 'v');
            next_.emplace_back(key, value);
            text += key + ' ' + value + '\n';
        }
        return text;
    }

    /// The lines that the writer has confirmed are stored; the one behind them may be.
    void Check(leveldb::DB& database, const std::vector<std::string>& confirmed) {
        for (std::size_t at = 0; at < confirmed.size(); ++at) {
            ASSERT_EQ(confirmed[at], next_[at].first);
            stored_[next_[at].first] = next_[at].second;
        }
        if (confirmed.size() < next_.size()) {
            const auto& [key, value] = next_[confirmed.size()];
            std::string found;
            if (database.Get(leveldb::ReadOptions(), key, &found).ok() && found == value) {
                stored_[key] = value;
            }
        }
        leveldb::ReadOptions checked;
        checked.verify_checksums = true;
        const std::unique_ptr<leveldb::Iterator> each(database.NewIterator(checked));
        std::map<std::string, std::string> all;
        for (each->SeekToFirst(); each->Valid(); each->Next()) {
            all[each->key().ToString()] = each->value().ToString();
        }
        EXPECT_TRUE(each->status().ok()) << each->status().ToString();
        for (const auto& [key, value] : stored_) {
            EXPECT_TRUE(all[key] == value) << key << " is " << all[key].substr(0, 8) << "..., not "
                                           << value.substr(0, 8) << "...";
        }
        EXPECT_EQ(all.size(), stored_.size());
    }

private:
    std::mt19937 random_;
    long long written_ = 0;
    std::vector<std::pair<std::string, std::string>> next_;
    std::map<std::string, std::string> stored_;
};

TEST(LevelDB, KilledWriters_LoseNothingThatTheyHaveConfirmed) {
    const char* const given = std::getenv("ZUKEL_SEED");
    const unsigned seed = given != nullptr ? unsigned(std::atoi(given)) : std::random_device()();
    SCOPED_TRACE("ZUKEL_SEED=" + std::to_string(seed));
    const TemporaryDirectory directory;
    const std::string name = directory / "database";
    Model model(seed);
    std::size_t all = 0;
    for (int round = 0; round < 100 && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        Environment environment;
        kelProcessOptions options;
        options.command = ZUKEL_LEVELDBENV;
        options.arguments = {name, "load"};
        options.input.kind = options.output.kind = kelProcessOptions::StreamFile;
        options.input.file = directory.Write("lines", model.NextLines());
        options.output.file = directory.Write("confirmed");
        kelProcess writer;
        ASSERT_EQ(writer.Start(options), kOk) << writer.GetLastError();
        leveldb::Status status;
        if (round % 10 == 0) {
            EXPECT_TRUE(Eventually([&] { return fs::file_size(options.output.file) > 0; }));
            EXPECT_FALSE(Opened(environment, name, status)) << "the writer has it";
            EXPECT_TRUE(status.IsIOError()) << status.ToString();
        }
        kelTime::Sleep(model.Below(60000));
        EXPECT_EQ(kelProcess::NativeKill(writer.GetPid()), kOk) << "it has ended by itself";
        EXPECT_EQ(writer.Wait(-1), kOk);
        const Database database = Opened(environment, name, status);
        ASSERT_TRUE(database) << status.ToString();
        const std::vector<std::string> confirmed = Lines(options.output.file);
        all += confirmed.size();
        model.Check(*database, confirmed);
        const Database second = Opened(environment, name, status);
        EXPECT_FALSE(second) << "this process has it";
    }
    EXPECT_GT(all, 100U) << "the writers were killed before they wrote";
}

/// What the databases above do not ask for.
TEST(LevelDB, Environment_DoesWhatItsInterfaceTells) {
    const TemporaryDirectory directory;
    Environment environment;
    const std::string missing = directory / "missing", contents = std::string(200000, 'a') + "end!";
    const std::string name = directory.Write("file", contents);
    std::uint64_t size = 0;
    std::vector<std::string> names;
    EXPECT_TRUE(environment.GetFileSize(missing, &size).IsNotFound());
    EXPECT_TRUE(environment.GetChildren(missing, &names).IsNotFound());

    leveldb::Slice read;
    std::vector<char> room(contents.size());
    leveldb::SequentialFile* sequential = nullptr;
    EXPECT_TRUE(environment.NewSequentialFile(missing, &sequential).IsNotFound());
    EXPECT_EQ(sequential, nullptr);
    ASSERT_TRUE(environment.NewSequentialFile(name, &sequential).ok());
    const std::unique_ptr<leveldb::SequentialFile> in(sequential);
    EXPECT_TRUE(in->Skip(199999).ok());
    for (const char* const part : {"aen", "d!", ""}) {  // the end is no failure
        EXPECT_TRUE(in->Read(3, &read, room.data()).ok());
        EXPECT_EQ(read.ToString(), part);
    }

    // More files than are mapped: the last of these are read by the system.
    std::vector<std::unique_ptr<leveldb::RandomAccessFile>> tables;
    for (int count = 0; count < 1003; ++count) {
        leveldb::RandomAccessFile* table = nullptr;
        ASSERT_TRUE(environment.NewRandomAccessFile(name, &table).ok());
        tables.emplace_back(table);
        ASSERT_TRUE(table->Read(199998, 4, &read, room.data()).ok());
        ASSERT_EQ(read.ToString(), "aaen");
        EXPECT_EQ(read.data() == room.data(), count >= 1000) << count;
    }
    EXPECT_FALSE(tables[0]->Read(contents.size(), 1, &read, room.data()).ok());
    EXPECT_FALSE(tables[0]->Read(1, contents.size(), &read, room.data()).ok());
}

}  // namespace
