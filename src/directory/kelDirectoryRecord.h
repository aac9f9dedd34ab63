#pragma once

#include "frame/SharedRecord.h"
#include "platform/Directories.h"
#include "zuString.h"

struct kelDirectoryRecord : zukel::SharedRecord {
    zuString name;  ///< Of the last opening that succeeded; kept by a close.
    /// As reported to the caller. True without a `stream` after a failed close, which has released
    /// the handle.
    bool open = false;
    zukel::platform::DirectoryHandle stream;  ///< Null if there is nothing to read or to close.
};
