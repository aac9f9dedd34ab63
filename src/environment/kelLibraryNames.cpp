#include "environment/FileNameExpansion.h"
#include "kelLibrary.h"
#include "platform/Environment.h"

zuString kelLibrary::GetAbsoluteFileName(const zuString& name) {
    zuStlVector<zuString> components = zukel::SplitFileName(name);
    zukel::ExpandComponents(
        components, GetPlatform(),
        [](zuString& component) { zukel::platform::QueryUserDirectory(component); },
        [](zuString& component, const zuString& variable) {
            zukel::platform::ReadEnvironmentVariable(variable.c_str(), component);
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
