#include "environment/FileNameExpansion.h"
#include "kelLibrary.h"

zuString kelLibrary::GetAbsoluteFileName(const zuString& name) {
    kelLibrary library;
    zuStlVector<zuString> components = zukel::SplitFileName(name);
    zukel::ExpandComponents(
        components, GetPlatform(),
        [&](zuString& component) { library.GetUserDirectory(component); },
        [&](zuString& component, const zuString& variable) {
            library.GetEnvironmentVariable(component, variable);
        });
    zuString expanded = zukel::JoinFileName(components);
    zukel::LengthenName(expanded);
    return expanded;
}

zuString kelLibrary::GetAbsoluteLibraryName(const zuString& name) {
    zuStlVector<zuString> components = zukel::SplitFileName(name);
    components.back() = GetSharedLibPrefix() + components.back() + GetSharedLibSuffix();
    return GetAbsoluteFileName(zukel::JoinFileName(components));
}
