#pragma once

#include <apr_file_info.h>

#include "frame/Pool.h"
#include "frame/SharedRecord.h"
#include "zuString.h"

struct kelDirectoryRecord : zukel::SharedRecord {
    zuString name;             ///< Of the last opening that succeeded; stays after a close.
    bool open = false;         ///< What the caller is told. True with a null `dir` after a close
                               ///< that failed: the runtime has given the handle up by then.
    apr_dir_t* dir = nullptr;  ///< The handle; null when there is nothing to read or to close.
    zukel::Pool pool;          ///< Last: see `Pool`.

    ~kelDirectoryRecord() {
        if (dir != nullptr) {
            apr_dir_close(dir);
        }
    }
};
