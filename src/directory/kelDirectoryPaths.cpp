#include "directory/PathText.h"
#include "directory/RelativePath.h"
#include "kelDirectory.h"
#include "kelFileInfo.h"
#include "kelLibrary.h"

zuString kelDirectory::CleanPath(const zuString& path) {
    return path;
}

bool kelDirectory::IsRelativePath(const zuString& path) {
    return zukel::IsRelative(path);
}

zuString kelDirectory::GetAbsolutePath(const zuString& path) {
    return zukel::NormalizedPath(path);
}

zuString kelDirectory::GetRelativePath(const zuString& from, const zuString& to) {
    zuString source = kelLibrary::GetAbsoluteFileName(from);
    zuString target = kelLibrary::GetAbsoluteFileName(to);
    zukel::FoldCase(source);
    zukel::FoldCase(target);
    if (kelFileInfo(source).GetType() != kelFileInfo::Directory ||
        kelFileInfo(target).GetType() != kelFileInfo::Directory) {
        return {};
    }
    return zukel::RelativePathBetween(source, target);
}
