#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>

#include "support/Guard.h"

/// The little of the system that tests ask for beyond the standard library. The folders below this
/// one implement it.
namespace zukel::test {

/// Whether this is Windows, where some of what the tests ask comes out otherwise, or means nothing.
/// docs/platform-differences.md tells which.
extern const bool kOnWindows;

/// A file name beyond ASCII: of bytes that are no text where a name may be that.
extern const char* const kOddName;
/// The device that takes everything.
extern const char* const kNullDevice;
/// What stands between the directories of a search path.
extern const char* const kPathSeparator;

/// Makes a symbolic link. False on Windows: Wine makes none, and the system does not let everybody.
bool MakeLink(const std::string& target, const std::string& name);

/// Makes a pipe and a socket with a name. False on Windows: its pipes have names of their own kind.
bool MakePipeAndSocket(const std::string& pipe, const std::string& socket);

/// The bits of the file's mode. Windows: the two that its read-only mark stands for.
unsigned ModeOf(const std::string& path);

/// Sets the bits that new files do not get, and gives the former ones. Windows: nothing.
unsigned SetUmask(unsigned bits);

/// Sets the times of last access and change, in nanoseconds since 1970.
void SetTimes(const std::string& path, std::int64_t access, std::int64_t change);

/// The user's name and home directory, from another source than the library's.
std::string UserName();
std::string HomeDirectory();

/// All of the machine's memory, in bytes.
unsigned long long MachineMemory();
/// How many logical processors the system runs.
int Processors();

/// The session that a process belongs to, 0 for the caller's own. Windows: -1, there is no such
/// thing.
int SessionOf(int pid);

/// Makes another directory the current one.
Guard WorkingDirectory(const std::string& path);

/// Takes root's power over permissions away; nothing to do for others, and on Windows.
Guard Unprivileged();

/// Keeps the process from making any file larger, as a device does that runs full: a write takes
/// what still fits, and the next one fails. Windows has no such limit.
Guard FileSizeLimit(unsigned long long bytes);

/// Signals come in every millisecond. Windows has none.
Guard FrequentSignals();

/// Gives the signal of that limit back its default, which ends the process. Windows: nothing.
void LetTheLimitEndTheProcess();

/// The descriptors of this process that a program started now would inherit. Windows: none, as the
/// library's handles are not inherited.
std::set<int> InheritedDescriptors();

/// Runs the body in a child process, and fails the test when a check in it fails, when it crashes,
/// or when it takes longer than a minute. Nothing that the body does to its descriptors, signals
/// or children reaches the test program. Windows: runs it here.
void InChild(const std::function<void()>& body);

/// A child that was not started through the library and ends with 7 at once. Windows: none, as a
/// process need not collect its children there.
class OtherChild {
public:
    OtherChild();
    /// Waits for it and gives its exit code.
    int Collect();

private:
    int pid_;
};

/// Whether this process has no children now, ended or not. Windows: true.
bool HasNoChildren();

}  // namespace zukel::test
