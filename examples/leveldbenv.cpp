// A database on the command line: LevelDB, on files that zukel reads and writes.
//
//     leveldbenv DIRECTORY put KEY VALUE
//     leveldbenv DIRECTORY get KEY
//     leveldbenv DIRECTORY remove KEY
//     leveldbenv DIRECTORY list
//     leveldbenv DIRECTORY load
//
// `load` stores each line "KEY VALUE" of its input, and prints the key once the value is on the
// disk. `put` and `remove` end once the change is on the disk. One program at a time can use a
// database. Exit code: 0; 1 if an operation failed or there is no such key; 2 for wrong arguments.

#include <leveldb/db.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "leveldbenv/Environment.h"

namespace {

using leveldb::Status;
using Words = std::vector<std::string>;

Status List(leveldb::DB& database) {
    const std::unique_ptr<leveldb::Iterator> each(database.NewIterator(leveldb::ReadOptions()));
    for (each->SeekToFirst(); each->Valid(); each->Next()) {
        std::cout << each->key().ToString() << ' ' << each->value().ToString() << '\n';
    }
    return each->status();
}

Status Load(leveldb::DB& database, const leveldb::WriteOptions& durable) {
    Status status;
    std::string line;
    while (status.ok() && std::cout && std::getline(std::cin, line)) {
        const std::size_t space = line.find(' ');
        const std::string key = line.substr(0, space);
        const std::string value = space == std::string::npos ? "" : line.substr(space + 1);
        status = database.Put(durable, key, value);
        if (status.ok()) {
            std::cout << key << std::endl;  // flushed: a reader relies on the line
        }
    }
    return status;
}

Status Do(leveldb::DB& database, const Words& words) {
    leveldb::WriteOptions durable;
    durable.sync = true;
    const std::string& what = words[1];
    if (what == "put") {
        return database.Put(durable, words[2], words[3]);
    }
    if (what == "remove") {
        return database.Delete(durable, words[2]);
    }
    if (what == "get") {
        std::string value;
        Status status = database.Get(leveldb::ReadOptions(), words[2], &value);
        std::cout << (status.ok() ? value + '\n' : "");
        return status;
    }
    return what == "list" ? List(database) : Load(database, durable);
}

bool IsCall(const Words& words) {
    const struct {
        const char* what;
        std::size_t words;
    } calls[] = {{"put", 4}, {"get", 3}, {"remove", 3}, {"list", 2}, {"load", 2}};
    return std::any_of(std::begin(calls), std::end(calls), [&](const auto& call) {
        return words.size() == call.words && words[1] == call.what;
    });
}

}  // namespace

int main(int count, char** arguments) {
    const Words words(arguments + (count > 0 ? 1 : 0), arguments + count);
    if (!IsCall(words)) {
        std::fprintf(stderr,
                     "usage: leveldbenv DIRECTORY put KEY VALUE | get KEY | remove KEY | list | "
                     "load\n");
        return 2;
    }
    Environment environment;
    leveldb::Options options;
    options.env = &environment;
    options.create_if_missing = true;
    leveldb::DB* opened = nullptr;
    Status status = leveldb::DB::Open(options, words[0], &opened);
    const std::unique_ptr<leveldb::DB> database(opened);
    if (status.ok()) {
        status = Do(*database, words);
    }
    std::cout.flush();
    if (!status.ok()) {
        std::fprintf(stderr, "leveldbenv: %s\n", status.ToString().c_str());
    }
    return status.ok() && std::cout ? 0 : 1;
}
