#pragma once

#include <kelLibrary.h>
#include <kelStatus.h>
#include <leveldb/status.h>

#include <string>

/// The status of an operation on the file `name` as LevelDB tells it, with the system's words for
/// the reason.
inline leveldb::Status ToStatus(int status, const std::string& name) {
    switch (status) {
        case kelStatusOk:
            return leveldb::Status::OK();
        case kelStatusBusy:
            return leveldb::Status::IOError("lock " + name, kelLibrary::GetStatusText(status));
        case kelStatusNotFound:
            return leveldb::Status::NotFound(name, kelLibrary::GetErrorText());
        default:
            return leveldb::Status::IOError(name, kelLibrary::GetErrorText());
    }
}
