#pragma once

#include <apr_dso.h>

#include <forward_list>
#include <memory>
#include <utility>

#include "frame/Pool.h"
#include "frame/SharedRecord.h"
#include "platform/Modules.h"
#include "zuString.h"

namespace zukel {

/// One load of a module: the module, unless the load has failed, and the pool of the load.
class Module {
public:
    ~Module() { Unload(); }

    /// Tries to load it. @returns the status; the handle, if there is one, has the reason.
    apr_status_t Load(const char* name, apr_dso_handle_t*& tried) noexcept {
        apr_status_t status = pool_ ? platform::LoadModule(name, pool_.Get(), tried) : APR_ENOPOOL;
        handle_ = status == APR_SUCCESS ? tried : nullptr;
        return status;
    }
    apr_status_t Unload() noexcept {
        return handle_ == nullptr ? APR_SUCCESS : apr_dso_unload(std::exchange(handle_, nullptr));
    }
    apr_dso_handle_t* Handle() const noexcept { return handle_; }

private:
    Pool pool_;
    apr_dso_handle_t* handle_ = nullptr;
};

}  // namespace zukel

struct kelDynamicObjectRecord : zukel::SharedRecord {
    zuString name;   ///< Of the last load, if it succeeded; kept by an unload.
    zuString error;  ///< The text of the last load, which APR does not keep.
    std::unique_ptr<zukel::Module> module;  ///< Of the last load, while it is held; else null.
    std::forward_list<std::unique_ptr<zukel::Module>> forgotten;  ///< Still loaded.
};
