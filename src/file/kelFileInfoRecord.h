#pragma once

#include "file/NameParts.h"
#include "frame/SharedRecord.h"
#include "platform/FileFacts.h"
#include "zuString.h"

struct kelFileInfoRecord : zukel::SharedRecord {
    kelFileInfoRecord(const zuString& name, zukel::platform::LinkMode links)
        : filePath(name), mode(links) {}

    const zuString filePath;
    zukel::NameCuts cuts;              ///< Set when a part of the name is first needed.
    zukel::platform::FileFacts facts;  ///< Failure values until `answered`.
    const zukel::platform::LinkMode mode;
    bool isCut = false;     ///< `cuts` has been set.
    bool answered = false;  ///< A query has succeeded: no further one is made.
};
