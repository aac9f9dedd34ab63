#pragma once

#include "frame/Names.h"
#include "frame/StatusMapping.h"

namespace zukel {

/// Frame of the operations on one name: tests the name, and makes the call with its bytes.
///
/// @param call takes the bytes and returns 0 or the reason.
/// @param map converts that to the caller's status: `MapStatus` or `MapOpenStatus`.
template <typename Call>
int OnName(const zuString& name, int (*map)(apr_status_t) noexcept, Call call) {
    if (name.empty()) {
        return Fail(APR_EINVAL, kelStatusEmptyPath);
    }
    return map(IsWhole(name) ? call(name.c_str()) : APR_ENOENT);
}

}  // namespace zukel
