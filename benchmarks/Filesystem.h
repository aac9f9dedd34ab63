#pragma once

#include "Jobs.h"

/// The jobs by a library that is made like the file systems of the C++ library. Its functions are
/// found by the type of their argument.
template <typename Path, typename Iterator>
class Filesystem {
public:
    template <typename Options>
    static const Jobs& Add(const Jobs& jobs, Options overwrite) {
        return jobs
            .Copy([=](const auto& from, const auto& to) {
                copy_file(Path(from), Path(to), overwrite);
                return true;
            })
            .Rename([](const auto& from, const auto& to) {
                rename(Path(from), Path(to));
                return true;
            })
            .DeleteTree([](const auto& path) { return remove_all(Path(path)) > 0; })
            .Exists([](const auto& name) { return exists(Path(name)); })
            .List(List)
            .MakeAndRemove([](const auto& path) { return create_directory(Path(path)); }, Remove)
            .MakeFiveLevels([](const auto& path) { return create_directories(Path(path)); }, Remove)
            .Repeat("FileFacts", Facts)
            .With(
                "NormalizePath", [] { return Path(kLongPath); },
                [](const Path& path) { return path.lexically_normal(); })
            .Repeat("RelativePath", [] { return relative(Path(kTo), Path(kFrom)); })
            .With(
                "ThreeNameParts", [] { return Path(kLongPath); }, ThreeParts);
    }

    static void ThreeParts(const Path& path) {
        benchmark::DoNotOptimize(path.parent_path().string());
        benchmark::DoNotOptimize(path.filename().string());
        benchmark::DoNotOptimize(path.stem().string());
    }

private:
    static bool Remove(const std::string& path) { return remove(Path(path)); }
    static auto List(const std::string& directory) {
        std::vector<std::string> names;
        for (const auto& entry : Iterator(directory)) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }
    static void Facts() {
        const Path path(kKnownFile);
        benchmark::DoNotOptimize(file_size(path));
        benchmark::DoNotOptimize(symlink_status(path));
        benchmark::DoNotOptimize(last_write_time(path));
    }
};
