// Operations on names beside those of the C++ library, each in a directory of its own.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <utility>

#include "Oracles.h"
#include "kelDirectory.h"
#include "kelFile.h"
#include "kelFileInfo.h"
#include "kelProcess.h"

namespace zukel::fuzz {

namespace {

namespace fs = std::filesystem;
using Name = const std::string&;

/// Some become directories and some links, so that others lead through them.
constexpr const char* kNames[] = {"a", "b", "d", "d/a", "d/b", "d/e", "l", "m", "l/a", "m/e"};
constexpr const char* kTargets[] = {"a", "d", "l", "m", "nothing", "d/a"};

std::string Contents(Name name) {
    return (std::ostringstream() << std::ifstream(name, std::ios::binary).rdbuf()).str();
}

/// What stands under each name of a directory, links as they are.
std::string Tree(const fs::path& root) {
    std::map<std::string, std::string> all;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const std::string name = entry.path().lexically_relative(root).generic_string();
        all[name] = entry.is_symlink()     ? "-> " + fs::read_symlink(entry).string()
                    : entry.is_directory() ? "/"
                                           : "= " + Contents(entry.path().string());
    }
    std::string text;
    for (const auto& [name, what] : all) {
        text.append(name).append(" ").append(what).append("; ");
    }
    return text;
}

/// The operations by the C++ library, plainly. Each returns whether it has succeeded.
struct Plain {
    static bool Copy(Name from, Name to) {
        std::error_code failed;
        const bool fits = fs::is_regular_file(from, failed) && !fs::is_directory(to, failed) &&
                          !fs::equivalent(from, to, failed);
        return fits && Write(to, Contents(from));
    }
    static bool NativeCopy(Name from, Name to) { return Copy(from, to); }
    static bool Rename(Name from, Name to) {
        std::error_code failed;
        fs::rename(from, to, failed);
        return !failed;
    }
    static bool NativeRename(Name from, Name to) { return Rename(from, to); }
    static bool RenameNew(Name from, Name to) {
        return TypeOf(to) == fs::file_type::not_found && Rename(from, to);
    }
    static bool Replace(Name name, Name text) {
        std::error_code failed;
        const fs::path target = Followed(name);
        if (target.empty() ||
            (fs::exists(target, failed) && !fs::is_regular_file(target, failed)) ||
            !fs::is_directory(target.parent_path(), failed)) {
            return false;
        }
        fs::remove(target, failed);  // other names of the file keep what it had
        return Write(target, text);
    }
    static bool Link(Name name, Name target) {
        std::error_code failed;
        fs::create_symlink(target, name, failed);
        return !failed;
    }
    static bool HardLink(Name from, Name to) {
        std::error_code failed;
        fs::create_hard_link(from, to, failed);
        return !failed;
    }
    static bool Delete(Name name) {
        std::error_code failed;
        return TypeOf(name) != fs::file_type::directory && fs::remove(name, failed);
    }
    static bool Create(Name name) {
        std::error_code failed;
        return fs::create_directory(name, failed);
    }
    static bool CreateAll(Name name) {
        std::error_code failed;
        fs::create_directories(name, failed);
        return fs::is_directory(name, failed);
    }
    static bool DeleteDirectory(Name name) {
        std::error_code failed;
        return TypeOf(name) == fs::file_type::directory && fs::remove(name, failed);
    }
    static bool DeleteTree(Name name) {
        std::error_code failed;
        return TypeOf(name) == fs::file_type::directory && fs::remove_all(name, failed) > 0;
    }
    static bool Exists(Name name) {
        std::error_code failed;
        return fs::exists(name, failed);
    }
    static bool ReadWhole(Name name, std::string& contents) {
        std::error_code failed;
        contents = Contents(name);
        return fs::is_regular_file(name, failed);
    }
    static bool ReadLink(Name name, std::string& target) {
        std::error_code failed;
        target = fs::read_symlink(name, failed).string();
        return !failed;
    }
    static bool GetRealPath(Name name, std::string& path) {
        std::error_code failed;
        path = fs::canonical(name, failed).string();
        return !failed;
    }
    static bool CountNames(Name name, std::string& count) {
        std::error_code failed;
        const fs::directory_iterator entries(name, failed);
        count = std::to_string(std::distance(begin(entries), end(entries)));
        return !failed;
    }

private:
    static fs::file_type TypeOf(const fs::path& name) {
        std::error_code failed;
        return fs::symlink_status(name, failed).type();
    }
    /// Where the links lead, also if nothing stands there; empty if they lead around.
    static fs::path Followed(fs::path name) {
        for (int links = 0; TypeOf(name) == fs::file_type::symlink; ++links) {
            name = links < 40 ? name.parent_path() / fs::read_symlink(name) : "";
        }
        return name;
    }
    static bool Write(const fs::path& name, Name text) {
        std::ofstream file(name, std::ios::binary);
        return !!(file << text << std::flush);
    }
};

/// The same by this library.
struct Ours {
    static bool Copy(Name from, Name to) {
        return Done(kelFile::Copy(from, to, kelFileInfo::PermissionOfSource));
    }
    static bool NativeCopy(Name from, Name to) { return Done(kelFile::NativeCopy(from, to, 0)); }
    static bool Rename(Name from, Name to) { return Done(kelFile::Rename(from, to)); }
    static bool NativeRename(Name from, Name to) {
        // Windows: it replaces nothing.
        return fs::path::preferred_separator == '/' ? Done(kelFile::NativeRename(from, to))
                                                    : Rename(from, to);
    }
    static bool RenameNew(Name from, Name to) { return Done(kelFile::RenameNew(from, to)); }
    static bool Replace(Name name, Name text) { return Done(kelFile::ReplaceWhole(name, text)); }
    static bool Link(Name name, Name target) {
        return Done(kelFile::CreateSymbolicLink(target, name));
    }
    static bool HardLink(Name from, Name to) { return Plain::HardLink(from, to); }
    static bool Delete(Name name) { return Done(kelFile::Delete(name)); }
    static bool Create(Name name) { return Done(kelDirectory::Create(name, 0x755, false)); }
    static bool CreateAll(Name name) { return Done(kelDirectory::Create(name, 0x755, true)); }
    static bool DeleteDirectory(Name name) { return Done(kelDirectory::Delete(name)); }
    static bool DeleteTree(Name name) { return Done(kelDirectory::DeleteTree(name)); }
    static bool Exists(Name name) { return kelFile::Exists(name); }
    static bool ReadWhole(Name name, std::string& contents) {
        return Done(kelFile::ReadWhole(name, contents));
    }
    static bool ReadLink(Name name, std::string& target) {
        return Done(kelFile::ReadSymbolicLink(name, target));
    }
    static bool GetRealPath(Name name, std::string& path) {
        return Done(kelFile::GetRealPath(name, path));
    }
    static bool CountNames(Name name, std::string& count) {
        zuStlVector<zuString> names;
        const bool done = Done(kelDirectory::GetFileNames(name, names));
        count = std::to_string(names.size());
        return done;
    }

private:
    static bool Done(int status) { return status == kelStatusOk; }
};

/// What an operation is about, in one of the two directories.
struct Case {
    fs::path root;
    std::string first, second, text, target;
};

std::string Outcome(bool done, Name read = "") {
    return done ? "done " + read : "failed";
}
std::string Outcome(const Case& it, bool (*read)(Name, std::string&)) {
    std::string text;
    const bool done = read(it.first, text);
    return Outcome(done, text);
}

/// Each operation with its name; it returns its outcome. Files are replaced twice as often, so that
/// there are some.
template <typename By>
constexpr std::pair<const char*, std::string (*)(const Case&)> kOperations[] = {
    {"Copy", [](const Case& it) { return Outcome(By::Copy(it.first, it.second)); }},
    {"NativeCopy", [](const Case& it) { return Outcome(By::NativeCopy(it.first, it.second)); }},
    {"Rename", [](const Case& it) { return Outcome(By::Rename(it.first, it.second)); }},
    {"NativeRename", [](const Case& it) { return Outcome(By::NativeRename(it.first, it.second)); }},
    {"RenameNew", [](const Case& it) { return Outcome(By::RenameNew(it.first, it.second)); }},
    {"Replace", [](const Case& it) { return Outcome(By::Replace(it.first, it.text)); }},
    {"Replace", [](const Case& it) { return Outcome(By::Replace(it.first, it.text)); }},
    {"Link", [](const Case& it) { return Outcome(By::Link(it.first, it.target)); }},
    {"HardLink", [](const Case& it) { return Outcome(By::HardLink(it.first, it.second)); }},
    {"Delete", [](const Case& it) { return Outcome(By::Delete(it.first)); }},
    {"Create", [](const Case& it) { return Outcome(By::Create(it.first)); }},
    {"CreateAll", [](const Case& it) { return Outcome(By::CreateAll(it.first)); }},
    {"DeleteDirectory", [](const Case& it) { return Outcome(By::DeleteDirectory(it.first)); }},
    {"DeleteTree", [](const Case& it) { return Outcome(By::DeleteTree(it.first)); }},
    {"Exists", [](const Case& it) { return Outcome(By::Exists(it.first)); }},
    {"ReadWhole", [](const Case& it) { return Outcome(it, By::ReadWhole); }},
    {"ReadLink", [](const Case& it) { return Outcome(it, By::ReadLink); }},
    {"CountNames", [](const Case& it) { return Outcome(it, By::CountNames); }},
    {"GetRealPath", [](const Case& it) {
         std::string path;
         const bool done = By::GetRealPath(it.first, path);
         return Outcome(done, fs::path(path).lexically_relative(it.root).generic_string());
     }}};

}  // namespace

std::string CheckTree(const std::string& bytes) {
    static const fs::path top =
        fs::temp_directory_path() /
        ("zukel-trees-" + std::to_string(kelProcess::GetCurrentProcessPid()));
    const fs::path roots[] = {top / "ours", top / "plain"};
    fs::remove_all(top);
    for (const fs::path& root : roots) {
        fs::create_directories(root);
    }
    std::string disagreement;
    for (std::size_t at = 0; at + 3 <= bytes.size() && disagreement.empty(); at += 3) {
        const auto pick = [&](std::size_t byte, const auto& list) {
            return list[static_cast<unsigned char>(bytes[at + byte]) % std::size(list)];
        };
        const auto in = [&](const fs::path& root) {
            return Case{root, (root / pick(1, kNames)).string(), (root / pick(2, kNames)).string(),
                        std::to_string(at), pick(2, kTargets)};
        };
        const auto [name, ours] = pick(0, kOperations<Ours>);
        const std::string found = ours(in(roots[0])) + "; " + Tree(roots[0]);
        const std::string expected =
            pick(0, kOperations<Plain>).second(in(roots[1])) + "; " + Tree(roots[1]);
        if (found != expected) {
            disagreement = std::string(name) + " of " + pick(1, kNames) + " and " +
                           pick(2, kNames) + ": [" + found + "], not [" + expected + "]";
        }
    }
    fs::remove_all(top);
    return disagreement;
}

}  // namespace zukel::fuzz
