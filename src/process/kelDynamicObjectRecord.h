#pragma once

#include <apr_dso.h>

#include <array>
#include <utility>

#include "frame/Pool.h"
#include "frame/SharedRecord.h"
#include "zuString.h"

struct kelDynamicObjectRecord : zukel::SharedRecord {
    zuString name;                       ///< Of the last load, if it succeeded; outlives an unload.
    apr_dso_handle_t* module = nullptr;  ///< Of the last load, while it is held; else null.
    std::array<char, 4096> error{};      ///< Text of the last load; the runtime keeps it nowhere.
    zukel::Pool pool;                    ///< Last: see `Pool`.

    ~kelDynamicObjectRecord() { Unload(); }

    apr_status_t Unload() noexcept {
        return module == nullptr ? APR_SUCCESS : apr_dso_unload(std::exchange(module, nullptr));
    }
};
