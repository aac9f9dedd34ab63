#pragma once

#include <apr_file_io.h>

#include "frame/Pool.h"
#include "frame/SharedRecord.h"
#include "zuString.h"

struct kelFileRecord : zukel::SharedRecord {
    apr_file_t* file = nullptr;  ///< Null while closed: this alone tells the state.
    zuString name;               ///< As the caller gave it; stays after a close.
    apr_status_t status = 0;     ///< Of the last runtime call on the file; `EndOfFile` reads it.
    bool writable = false;       ///< Opened by name for writing. Asked of buffered files alone.
    apr_size_t bufferSize = 0;   ///< Of the open file; 0 when it is unbuffered.
    apr_size_t bufferFill = 0;   ///< Bytes that stand unwritten in the runtime's buffer.
    zukel::Pool pool;            ///< Last: see `Pool`.

    ~kelFileRecord() {
        if (file != nullptr) {
            apr_file_close(file);
        }
    }

    /// What every opening starts with. An earlier handle is forgotten, not closed: the pool ends
    /// it.
    void Reset() noexcept {
        name.clear();
        file = nullptr;
        status = 0;
        writable = false;
        bufferSize = 0;
        bufferFill = 0;
    }
};
