#pragma once

#include <kelLibrary.h>
#include <kelStatus.h>
#include <leveldb/status.h>

#include <string>

/// Converts the status of an operation on the file `name` to LevelDB's, with the system's text for
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
