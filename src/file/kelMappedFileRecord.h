#pragma once

#include "frame/SharedRecord.h"
#include "platform/MappedFiles.h"

/// What the objects that share a mapping hold. It does not change once an object has it, so objects
/// in several threads may use it at once.
struct kelMappedFileRecord : zukel::SharedRecord {
    zukel::platform::FileView view;  ///< Holds none for a part of no bytes.
    bool writes = false;
};
