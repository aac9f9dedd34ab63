#pragma once

#include "file/NameParts.h"
#include "frame/SharedRecord.h"
#include "platform/FileFacts.h"
#include "zuString.h"

struct kelFileInfoRecord : zukel::SharedRecord {
    kelFileInfoRecord(const zuString& name, zukel::platform::LinkMode links)
        : filePath(name), mode(links) {}

    const zuString filePath;
    zukel::NameCuts cuts;              ///< Once a part of the name has been asked for.
    zukel::platform::FileFacts facts;  ///< Until `answered`, each has its failure value.
    const zukel::platform::LinkMode mode;
    bool isCut = false;     ///< `cuts` has been set.
    bool answered = false;  ///< A query has brought the facts: none is made again.
};
