#pragma once

#include "frame/Pool.h"
#include "frame/SharedRecord.h"

struct kelLibraryRecord : zukel::SharedRecord {
    zukel::Pool pool;
};
