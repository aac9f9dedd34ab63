#pragma once

#include "frame/SharedRecord.h"
#include "platform/Processes.h"

struct kelProcessRecord : zukel::SharedRecord {
    zukel::platform::ChildHandle child;  ///< Null while idle: this alone tells the state.
};
