#include "environment/FileNameExpansion.h"
#include "environment/Variables.h"
#include "kelLibrary.h"
#include "platform/Environment.h"

zuString kelLibrary::GetAbsoluteFileName(const zuString& name) {
    zuStlVector<zuString> components = zukel::SplitFileName(name);
    zukel::ExpandComponents(
        components, GetPlatform(),
        [](zuString& component) { zukel::platform::QueryUserDirectory(component); },
        [](zuString& component, const zuString& variable) {
            zukel::FindVariable(variable, component);
        });
    zuString expanded = zukel::JoinFileName(components);
    zukel::ToLongName(expanded);
    return expanded;
}

zuString kelLibrary::GetAbsoluteLibraryName(const zuString& name) {
    zuStlVector<zuString> components = zukel::SplitFileName(name);
    components.back() = GetSharedLibPrefix() + components.back() + GetSharedLibSuffix();
    return GetAbsoluteFileName(zukel::JoinFileName(components));
}
