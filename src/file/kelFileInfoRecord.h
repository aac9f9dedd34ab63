#pragma once

#include <apr_file_info.h>

#include <optional>

#include "file/NameParts.h"
#include "frame/Pool.h"
#include "frame/SharedRecord.h"
#include "zuString.h"

struct kelFileInfoRecord : zukel::SharedRecord {
    explicit kelFileInfoRecord(const zuString& name) : filePath(name) {}

    const zuString filePath;                ///< `parts` and `info` point into it.
    std::optional<zukel::NameParts> parts;  ///< Once one of them has been asked for.
    std::optional<apr_finfo_t> info;        ///< What a query has left; nothing before and after one
                                            ///< that failed.
    int status = 0;    ///< Of the last query: 0 or `kelStatusNoFileInfo`. For the debugger's eyes.
    zukel::Pool pool;  ///< Last: see `Pool`.
};
