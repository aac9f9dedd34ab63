#pragma once

#include "frame/Names.h"
#include "platform/Environment.h"

namespace zukel {

/// Reads an environment variable. No name contains a `=`: such a name would find a part of another
/// variable's value.
///
/// @param value unchanged when there is none.
inline bool FindVariable(const zuString& name, zuString& value) {
    return IsWhole(name) && name.find('=') == zuString::npos &&
           platform::ReadEnvironmentVariable(name.c_str(), value);
}

}  // namespace zukel
