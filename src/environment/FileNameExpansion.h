#pragma once

#include <cstddef>

#include "zuString.h"

/// The steps of the expansion of file names, each testable without touching the system.
namespace zukel {

/// The components between separators, `/` or `\`, in order, including empty ones: n separators make
/// n + 1 components, the empty name has one.
zuStlVector<zuString> SplitFileName(const zuString& name);

/// The components, joined by `/`; an empty text for none.
zuString JoinFileName(const zuStlVector<zuString>& components);

/// Replaces the components that are shorthands. One that cannot be expanded stays.
///
/// @param platform what `$PLATFORM` stands for.
/// @param userDirectory called with the component that is `~`; sets it if there is a directory.
/// @param variable called with a component and the variable's name; sets it if there is a value.
template <typename UserDirectory, typename Variable>
void ExpandComponents(zuStlVector<zuString>& components, const char* platform,
                      UserDirectory userDirectory, Variable variable) {
    if (!components.empty() && components.front() == "~") {
        userDirectory(components.front());
    }
    for (zuString& component : components) {
        if (component == "$PLATFORM") {
            component = platform;
        } else if (!component.empty() && component.front() == '$') {
            variable(component, component.substr(1));
        }
    }
}

/// The long-name step: replaces a name that contains a `~` by its long form from the platform, if
/// there is one.
void ToLongName(zuString& name);

}  // namespace zukel
