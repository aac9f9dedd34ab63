#pragma once

#include "frame/SharedRecord.h"
#include "platform/MappedFiles.h"

/// The state that objects which share a mapping hold. It never changes once an object has it, so
/// objects in several threads may use it at once.
struct kelMappedFileRecord : zukel::SharedRecord {
    zukel::platform::FileView view;  ///< Empty for a part of 0 bytes.
    bool writes = false;
};
