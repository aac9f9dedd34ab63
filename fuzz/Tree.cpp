// Operations on names beside those of the C++ library, each in a directory of its own.

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

#include "Oracles.h"
#include "kelDirectory.h"
#include "kelFile.h"
#include "kelFileInfo.h"
#include "kelProcess.h"

namespace zukel::fuzz {

namespace {

namespace fs = std::filesystem;

/// Both directories get the same names, links and contents. `l` and `m` become links at times, so
/// that what stands behind them leads through one.
constexpr const char* kNames[] = {"a", "b", "d", "d/a", "d/b", "d/e", "l", "m", "l/a", "m/e"};
constexpr const char* kTargets[] = {"a", "d", "l", "m", "nothing", "d/a"};

/// Not on Windows.
constexpr bool kNativeReplaces = fs::path::preferred_separator == '/';

std::string Contents(const fs::path& name) {
    return (std::ostringstream() << std::ifstream(name, std::ios::binary).rdbuf()).str();
}

/// What stands under each name of a directory, links as they are.
std::string Tree(const fs::path& root) {
    std::map<std::string, std::string> all;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const std::string name = entry.path().lexically_relative(root).generic_string();
        all[name] = entry.is_symlink()     ? "-> " + fs::read_symlink(entry).string()
                    : entry.is_directory() ? "/"
                                           : "= " + Contents(entry.path());
    }
    std::string text;
    for (const auto& [name, what] : all) {
        text.append(name).append(" ").append(what).append("; ");
    }
    return text;
}

fs::file_type TypeOf(const fs::path& name) {
    std::error_code failed;
    return fs::symlink_status(name, failed).type();
}

/// Where the links lead, also if nothing stands there; empty if they lead around.
fs::path Followed(fs::path name) {
    for (int links = 0; TypeOf(name) == fs::file_type::symlink; ++links) {
        name = links < 40 ? name.parent_path() / fs::read_symlink(name) : "";
    }
    return name;
}

bool Write(const fs::path& name, const std::string& text) {
    std::ofstream file(name, std::ios::binary);
    return !!(file << text << std::flush);
}

/// The operations by the C++ library and the system, plainly. They return whether they succeed.
struct Plain {
    static bool Copy(const fs::path& from, const fs::path& to) {
        std::error_code failed;
        const bool fits = fs::is_regular_file(from, failed) && !fs::is_directory(to, failed) &&
                          !fs::equivalent(from, to, failed);
        return fits && Write(to, Contents(from));
    }
    static bool Rename(const fs::path& from, const fs::path& to) {
        std::error_code failed;
        fs::rename(from, to, failed);
        return !failed;
    }
    static bool RenameNew(const fs::path& from, const fs::path& to) {
        return TypeOf(to) == fs::file_type::not_found && Rename(from, to);
    }
    static bool Delete(const fs::path& name) {
        std::error_code failed;
        return TypeOf(name) != fs::file_type::directory && fs::remove(name, failed);
    }
    static bool Create(const fs::path& name) {
        std::error_code failed;
        return fs::create_directory(name, failed);
    }
    static bool CreateAll(const fs::path& name) {
        std::error_code failed;
        fs::create_directories(name, failed);
        return fs::is_directory(name, failed);
    }
    static bool Remove(const fs::path& name) {
        std::error_code failed;
        return TypeOf(name) == fs::file_type::directory && fs::remove(name, failed);
    }
    static bool RemoveTree(const fs::path& name) {
        std::error_code failed;
        return TypeOf(name) == fs::file_type::directory && fs::remove_all(name, failed) > 0;
    }
    static bool Replace(const fs::path& name, const std::string& text) {
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
    static bool HardLink(const fs::path& from, const fs::path& to) {
        std::error_code failed;
        fs::create_hard_link(from, to, failed);
        return !failed;
    }
    static bool Link(const std::string& target, const fs::path& name) {
        std::error_code failed;
        fs::create_symlink(target, name, failed);
        return !failed;
    }
};

/// An operation by this library and by the plain one. Each returns whether it has succeeded, and
/// what it has read.
struct Operation {
    const char* text;
    std::function<std::string()> ours, plain;
};

std::string Outcome(int status, const std::string& read = "") {
    return status == kelStatusOk ? "done " + read : "failed";
}
std::string Outcome(bool done, const std::string& read = "") {
    return done ? "done " + read : "failed";
}

}  // namespace

std::string CheckTree(const std::string& bytes) {
    static const fs::path top =
        fs::temp_directory_path() /
        ("zukel-trees-" + std::to_string(kelProcess::GetCurrentProcessPid()));
    const fs::path root = top / "ours", twin = top / "twin";
    fs::remove_all(top);
    fs::create_directories(root), fs::create_directories(twin);
    std::string disagreement;
    for (std::size_t at = 0; at + 3 <= bytes.size() && disagreement.empty(); at += 3) {
        const auto number = [&](std::size_t byte) {
            return static_cast<unsigned char>(bytes[byte]);
        };
        const std::string first = kNames[number(at + 1) % std::size(kNames)];
        const std::string second = kNames[number(at + 2) % std::size(kNames)];
        const std::string text = std::to_string(at),
                          target = kTargets[number(at + 2) % std::size(kTargets)];
        const std::string from = (root / first).string(), to = (root / second).string();
        const fs::path from2 = twin / first, to2 = twin / second;
        zuString read;
        zuStlVector<zuString> names;
        const Operation operations[] = {
            {"Copy",
             [&] { return Outcome(kelFile::Copy(from, to, kelFileInfo::PermissionOfSource)); },
             [&] { return Outcome(Plain::Copy(from2, to2)); }},
            {"NativeCopy", [&] { return Outcome(kelFile::NativeCopy(from, to, 0)); },
             [&] { return Outcome(Plain::Copy(from2, to2)); }},
            {"Rename", [&] { return Outcome(kelFile::Rename(from, to)); },
             [&] { return Outcome(Plain::Rename(from2, to2)); }},
            {"NativeRename",
             [&] {
                 return Outcome(kNativeReplaces ? kelFile::NativeRename(from, to)
                                                : kelFile::Rename(from, to));
             },
             [&] { return Outcome(Plain::Rename(from2, to2)); }},
            {"RenameNew", [&] { return Outcome(kelFile::RenameNew(from, to)); },
             [&] { return Outcome(Plain::RenameNew(from2, to2)); }},
            {"Delete", [&] { return Outcome(kelFile::Delete(from)); },
             [&] { return Outcome(Plain::Delete(from2)); }},
            {"ReplaceWhole", [&] { return Outcome(kelFile::ReplaceWhole(from, text)); },
             [&] { return Outcome(Plain::Replace(from2, text)); }},
            {"ReplaceWhole again", [&] { return Outcome(kelFile::ReplaceWhole(from, text)); },
             [&] { return Outcome(Plain::Replace(from2, text)); }},
            {"ReadWhole",
             [&] {
                 const int status = kelFile::ReadWhole(from, read);
                 return Outcome(status, read);
             },
             [&] {
                 std::error_code failed;
                 return Outcome(fs::is_regular_file(from2, failed), Contents(from2));
             }},
            {"CreateSymbolicLink",
             [&] { return Outcome(kelFile::CreateSymbolicLink(target, from)); },
             [&] { return Outcome(Plain::Link(target, from2)); }},
            {"hard link", [&] { return Outcome(Plain::HardLink(from, to)); },
             [&] { return Outcome(Plain::HardLink(from2, to2)); }},
            {"ReadSymbolicLink",
             [&] {
                 const int status = kelFile::ReadSymbolicLink(from, read);
                 return Outcome(status, read);
             },
             [&] {
                 std::error_code failed;
                 const fs::path leads = fs::read_symlink(from2, failed);
                 return Outcome(!failed, leads.string());
             }},
            {"GetRealPath",
             [&] {
                 const int status = kelFile::GetRealPath(from, read);
                 return Outcome(status, fs::path(read).lexically_relative(root).generic_string());
             },
             [&] {
                 std::error_code failed;
                 const fs::path real = fs::canonical(from2, failed);
                 return Outcome(!failed, real.lexically_relative(twin).generic_string());
             }},
            {"Exists", [&] { return Outcome(kelFile::Exists(from)); },
             [&] {
                 std::error_code failed;
                 return Outcome(fs::exists(from2, failed));
             }},
            {"Create", [&] { return Outcome(kelDirectory::Create(from, 0x755, false)); },
             [&] { return Outcome(Plain::Create(from2)); }},
            {"Create with parents",
             [&] { return Outcome(kelDirectory::Create(from, 0x755, true)); },
             [&] { return Outcome(Plain::CreateAll(from2)); }},
            {"directory Delete", [&] { return Outcome(kelDirectory::Delete(from)); },
             [&] { return Outcome(Plain::Remove(from2)); }},
            {"DeleteTree", [&] { return Outcome(kelDirectory::DeleteTree(from)); },
             [&] { return Outcome(Plain::RemoveTree(from2)); }},
            {"GetFileNames",
             [&] {
                 const int status = kelDirectory::GetFileNames(from, names);
                 return Outcome(status, std::to_string(names.size()));
             },
             [&] {
                 std::error_code failed;
                 const fs::directory_iterator entries(from2, failed);
                 return Outcome(!failed,
                                std::to_string(std::distance(begin(entries), end(entries))));
             }},
        };
        const Operation& operation = operations[number(at) % std::size(operations)];
        const std::string ours = operation.ours(), plain = operation.plain();
        const std::string found = Tree(root), expected = Tree(twin);
        if (ours != plain || found != expected) {
            disagreement = std::string(operation.text) + " " + first + " " + second + ": " + ours +
                           ", not " + plain + "; [" + found + "], not [" + expected + "]";
        }
    }
    fs::remove_all(top);
    return disagreement;
}

}  // namespace zukel::fuzz
