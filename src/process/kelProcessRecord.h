#pragma once

#include "frame/Pool.h"
#include "frame/SharedRecord.h"
#include "platform/Processes.h"

struct kelProcessRecord : zukel::SharedRecord {
    zukel::platform::ChildHandle child;  ///< Null while idle: this alone tells the state.
    zukel::Pool pool;                    ///< Last: see `Pool`. What one start needs, cleared after.

    ~kelProcessRecord() { child.reset(); }
};
