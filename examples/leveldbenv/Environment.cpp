#include "Environment.h"

#include <kelDirectory.h>
#include <kelFile.h>
#include <kelFileInfo.h>
#include <kelLibrary.h>
#include <kelStatus.h>
#include <kelTime.h>

#include <memory>
#include <thread>

#include "Failure.h"
#include "Files.h"
#include "Log.h"

namespace {

/// The lock of a database: a file that is open and locked for as long as this object exists.
struct Lock : leveldb::FileLock {
    kelFile file;
};

}  // namespace

leveldb::Status Environment::NewSequentialFile(const std::string& name,
                                               leveldb::SequentialFile** result) {
    return OpenSequential(name, result);
}

leveldb::Status Environment::NewRandomAccessFile(const std::string& name,
                                                 leveldb::RandomAccessFile** result) {
    return OpenRandomAccess(name, mappings_, result);
}

leveldb::Status Environment::NewWritableFile(const std::string& name,
                                             leveldb::WritableFile** result) {
    return OpenWritable(name, kelFile::ModeTruncate, result);
}

leveldb::Status Environment::NewAppendableFile(const std::string& name,
                                               leveldb::WritableFile** result) {
    return OpenWritable(name, kelFile::ModeAppend, result);
}

bool Environment::FileExists(const std::string& name) {
    return kelFile::Exists(name);
}

leveldb::Status Environment::GetChildren(const std::string& directory,
                                         std::vector<std::string>* result) {
    result->clear();
    return ToStatus(kelDirectory::GetFileNames(directory, *result), directory);
}

leveldb::Status Environment::RemoveFile(const std::string& name) {
    return ToStatus(kelFile::Delete(name), name);
}

leveldb::Status Environment::CreateDir(const std::string& name) {
    return ToStatus(kelDirectory::Create(name, kelFileInfo::PermissionDefault, false), name);
}

leveldb::Status Environment::RemoveDir(const std::string& name) {
    return ToStatus(kelDirectory::Delete(name), name);
}

leveldb::Status Environment::GetFileSize(const std::string& name, std::uint64_t* size) {
    const kelFileInfo info(name, kelFileInfo::LinksFollowed);
    if (info.GetType() != kelFileInfo::RegularFile) {
        *size = 0;
        return ToStatus(kelStatusNotFound, name);
    }
    *size = static_cast<std::uint64_t>(info.GetLength());
    return Status::OK();
}

leveldb::Status Environment::RenameFile(const std::string& from, const std::string& to) {
    return ToStatus(kelFile::Rename(from, to), from);
}

leveldb::Status Environment::LockFile(const std::string& name, leveldb::FileLock** lock) {
    *lock = nullptr;
    auto made = std::make_unique<Lock>();
    int status =
        made->file.Open(name, kelFile::ModeRead | kelFile::ModeWrite | kelFile::ModeCreate);
    if (status == kelStatusOk) {
        status = made->file.Lock(kelFile::LockExclusive, 0);
    }
    if (status == kelStatusOk) {
        *lock = made.release();
    }
    return ToStatus(status, name);
}

leveldb::Status Environment::UnlockFile(leveldb::FileLock* lock) {
    const std::unique_ptr<Lock> held(static_cast<Lock*>(lock));
    return ToStatus(held->file.Unlock(), held->file.GetFileName());
}

void Environment::Schedule(void (*function)(void*), void* argument) {
    background_.Add(function, argument);
}

void Environment::StartThread(void (*function)(void*), void* argument) {
    std::thread(function, argument).detach();
}

leveldb::Status Environment::GetTestDirectory(std::string* path) {
    kelLibrary library;
    zuString user;
    library.GetCurrentUserName(user);
    if (library.GetEnvironmentVariable(*path, "TEST_TMPDIR") != kelStatusOk) {
        *path = library.GetTempDir() + "/leveldbtest-" + user;
    }
    return ToStatus(kelDirectory::Create(*path, kelFileInfo::PermissionDefault, true), *path);
}

leveldb::Status Environment::NewLogger(const std::string& name, leveldb::Logger** result) {
    return OpenLog(name, result);
}

std::uint64_t Environment::NowMicros() {
    return static_cast<std::uint64_t>(kelTime::GetNow().GetNumericEpochTime());
}

void Environment::SleepForMicroseconds(int microseconds) {
    kelTime::Sleep(microseconds);
}
