#pragma once

#include <leveldb/env.h>

#include <atomic>

#include "Background.h"

/// Everything that LevelDB needs of the system, implemented with zukel alone:
///
///     Environment environment;
///     leveldb::Options options;
///     options.env = &environment;
///
/// The environment must outlive the databases that use it. Any number of threads may use it. It
/// reads and writes the same files as LevelDB's own environment, but neither respects the other's
/// lock.
class Environment : public leveldb::Env {
public:
    using Status = leveldb::Status;

    Status NewSequentialFile(const std::string& name, leveldb::SequentialFile** result) override;
    Status NewRandomAccessFile(const std::string& name,
                               leveldb::RandomAccessFile** result) override;
    Status NewWritableFile(const std::string& name, leveldb::WritableFile** result) override;
    Status NewAppendableFile(const std::string& name, leveldb::WritableFile** result) override;
    bool FileExists(const std::string& name) override;
    Status GetChildren(const std::string& directory, std::vector<std::string>* result) override;
    Status RemoveFile(const std::string& name) override;
    Status CreateDir(const std::string& name) override;
    Status RemoveDir(const std::string& name) override;
    Status GetFileSize(const std::string& name, std::uint64_t* size) override;
    Status RenameFile(const std::string& from, const std::string& to) override;
    Status LockFile(const std::string& name, leveldb::FileLock** lock) override;
    Status UnlockFile(leveldb::FileLock* lock) override;
    void Schedule(void (*function)(void*), void* argument) override;
    void StartThread(void (*function)(void*), void* argument) override;
    Status GetTestDirectory(std::string* path) override;
    Status NewLogger(const std::string& name, leveldb::Logger** result) override;
    std::uint64_t NowMicros() override;
    void SleepForMicroseconds(int microseconds) override;

private:
    /// How many more tables may be mapped. Systems limit the number of mappings of a process;
    /// further tables are read by `ReadAt`.
    std::atomic<int> mappings_{1000};
    Background background_;
};
