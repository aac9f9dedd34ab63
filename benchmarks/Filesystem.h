#pragma once

#include "Jobs.h"

template <typename Path>
void ThreeParts(const Path& path) {
    Use(path.parent_path().string(), path.filename().string(), path.stem().string());
}

/// The jobs by a library that is made like the file systems of the C++ library. Its functions are
/// found by the type of their argument.
template <typename Path, typename Iterator, typename Options>
void AddFilesystem(const Jobs& jobs, Options overwrite) {
    jobs.Copy([=](auto& from, auto& to) { return copy_file(Path(from), Path(to), overwrite); });
    jobs.Rename([](auto& from, auto& to) { rename(Path(from), Path(to)); });
    jobs.DeleteTree([](auto& path) { return remove_all(Path(path)) > 0; });
    jobs.Exists([](auto& name) { return exists(Path(name)); });
    jobs.List([](auto& directory) {
        std::vector<std::string> names;
        for (const auto& entry : Iterator(directory)) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    });
    jobs.Directories([](auto& path) { return create_directory(Path(path)); },
                     [](auto& path) { return create_directories(Path(path)); },
                     [](auto& path) { return remove(Path(path)); });
    jobs.Repeat("FileFacts", [] {
        const Path path(kKnownFile);
        Use(file_size(path), symlink_status(path), last_write_time(path));
    });
    jobs.With("NormalizePath", Make<Path>(kLongPath),
              [](auto& path) { return path.lexically_normal(); });
    jobs.Repeat("RelativePath", [] { return relative(Path(kTo), Path(kFrom)); });
    jobs.With("ThreeNameParts", Make<Path>(kLongPath), ThreeParts<Path>);
}
