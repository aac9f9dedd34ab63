// A LevelDB database on the storage environment of examples/leveldbenv, beside one on LevelDB's
// own, which makes the system's calls itself.

#include <leveldb/db.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <random>

#include "Jobs.h"
#include "leveldbenv/Environment.h"

namespace {

constexpr int kEntries = 100000;

std::string KeyOf(int number) {
    char key[17];
    std::snprintf(key, sizeof key, "%016d", number);
    return key;
}

/// Opens a database; one that is closed last.
class Database {
public:
    Database(leveldb::Env& environment, const std::string& name) {
        leveldb::Options options;
        options.env = &environment;
        options.create_if_missing = true;
        options.compression = leveldb::kNoCompression;  // which takes the same time for both
        leveldb::DB* opened = nullptr;
        MUST(leveldb::DB::Open(options, name, &opened).ok());
        database_.reset(opened);
    }

    leveldb::DB* operator->() const { return database_.get(); }

    /// Stores all keys, in an order that looks random.
    void Fill() const {
        const std::string value(100, 'v');
        for (int count = 0; count < kEntries; ++count) {
            const int number = static_cast<int>(count * 7919LL % kEntries);
            MUST(database_->Put(leveldb::WriteOptions(), KeyOf(number), value).ok());
        }
    }

private:
    std::unique_ptr<leveldb::DB> database_;
};

std::string Folder(const std::string& column) {
    return Work::Get().Named("leveldb-" + column);
}

/// One that is filled, with all entries in tables.
std::shared_ptr<Database> Filled(leveldb::Env& environment, const std::string& column) {
    const std::string folder = Folder(column);
    const bool exists = std::filesystem::exists(folder);
    auto database = std::make_shared<Database>(environment, folder);
    if (!exists) {
        database->Fill();
        (*database)->CompactRange(nullptr, nullptr);
    }
    return database;
}

void Add(const std::string& column, leveldb::Env& environment) {
    const Jobs jobs(column);
    jobs.Add("LevelDBFill",
             [column, &environment](benchmark::State& state) {
                 const std::string folder = Folder(column + "-new");
                 for ([[maybe_unused]] auto _ : state) {
                     Database(environment, folder).Fill();
                     state.PauseTiming();
                     std::filesystem::remove_all(folder);
                     state.ResumeTiming();
                 }
             })
        ->UseRealTime();
    jobs.With(
        "LevelDBReadInOrder", [column, &environment] { return Filled(environment, column); },
        [](const std::shared_ptr<Database>& database) {
            const std::unique_ptr<leveldb::Iterator> each(
                (*database)->NewIterator(leveldb::ReadOptions()));
            int count = 0;
            for (each->SeekToFirst(); each->Valid(); each->Next()) {
                count += each->value().size() == 100 ? 1 : 0;
            }
            MUST(count == kEntries);
        });
    jobs.With(
        "LevelDBReadRandom",
        [column, &environment] {
            return std::make_pair(Filled(environment, column), std::minstd_rand());
        },
        [](auto& database) {
            const int number = static_cast<int>(database.second() % kEntries);
            std::string value;
            MUST((*database.first)->Get(leveldb::ReadOptions(), KeyOf(number), &value).ok());
            return value;
        });
}

const bool kAdded = [] {
    static Environment environment;
    Add("zukel", environment);
    Add("system", *leveldb::Env::Default());
    return true;
}();

}  // namespace
