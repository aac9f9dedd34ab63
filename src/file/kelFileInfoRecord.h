#pragma once

#include <optional>

#include "file/NameParts.h"
#include "frame/SharedRecord.h"
#include "platform/FileFacts.h"
#include "zuString.h"

struct kelFileInfoRecord : zukel::SharedRecord {
    kelFileInfoRecord(const zuString& name, zukel::platform::LinkMode links)
        : filePath(name), mode(links) {}

    const zuString filePath;
    const zukel::platform::LinkMode mode;
    std::optional<zukel::NameCuts> cuts;  ///< Once a part of the name has been asked for.
    bool answered = false;                ///< A query has brought the facts: none is made again.
    zukel::platform::FileFacts facts;     ///< Until then each has its failure value.
};
