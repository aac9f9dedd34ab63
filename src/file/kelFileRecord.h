#pragma once

#include <apr_file_io.h>

#include <forward_list>

#include "file/FileStream.h"
#include "frame/SharedRecord.h"
#include "zuString.h"

struct kelFileRecord : zukel::SharedRecord {
    std::forward_list<zukel::FileStream> forgotten;  ///< Still open, but no longer used.
    zukel::FileStream stream;                        ///< Open or closed: this alone is the state.
    apr_status_t status = 0;  ///< Of the last operation on the file; `EndOfFile` reads it.
    zuString name;            ///< As the caller gave it; stays after a close.

    /// Prepares for an opening. A file that is still open is abandoned: it is closed with the
    /// record, unless it was opened without clean-up. Throws `std::bad_alloc` with nothing changed.
    void Reset() {
        if (stream.IsOpen()) {
            if ((stream.Mode() & APR_FOPEN_NOCLEANUP) == 0) {
                forgotten.emplace_front();
                forgotten.front() = std::move(stream);
            }
            stream.Abandon();
        }
        name.clear();
        status = 0;
    }
};
