#pragma once

#include "frame/SharedRecord.h"
#include "platform/Directories.h"
#include "zuString.h"

struct kelDirectoryRecord : zukel::SharedRecord {
    zuString name;      ///< Of the last opening that succeeded; stays after a close.
    bool open = false;  ///< What the caller is told. True without a `stream` after a close that
                        ///< failed: the system has given it up by then.
    zukel::platform::DirectoryHandle stream;  ///< Null when there is nothing to read or to close.
};
