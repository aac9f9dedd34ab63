#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// What a library told its caller.
struct Answer {
    bool done;
    std::string reason;  ///< Of a failure, in the library's words; empty when it gives none.
};

struct Command {
    std::vector<std::string> words;  ///< The program first.
    std::string directory;           ///< Empty: the caller's.
    bool throughPipe = false;        ///< Its output goes to the caller, who does not read it.
};

struct Child {
    std::shared_ptr<void> object;  ///< Dropping it is how the caller forgets the child.
    long pid = 0;
    std::function<bool()> isRunning;  ///< Empty when the library cannot tell.
    /// Waits for its end, and reports its exit code, or -1 when the library does not know it.
    std::function<Answer(int& code)> wait;
};

struct Segment {
    std::shared_ptr<void> object;
    char* address = nullptr;
};

/// What one library does for each of the jobs; an empty function is an operation that it lacks.
struct Library {
    std::string name;
    std::string version;
    std::string calls;  ///< Which operations of the library these are.
    std::function<Answer(const std::string& from, const std::string& to)> copy;
    std::function<Answer(const std::string& from, const std::string& to)> move;
    std::function<Answer(const Command& command, Child& child)> start;
    /// Runs a program and reads both of its outputs, by the shortest way that the library has.
    std::function<Answer(const std::vector<std::string>& words, std::string& output,
                         std::string& errors)>
        collect;
    std::function<void()> turn;  ///< One turn of the library's event loop, if it has one.
    std::function<Answer(const std::string& name, std::size_t size, Segment& segment)> create;
    std::function<Answer(const std::string& name, std::size_t size, Segment& segment)> attach;
    std::function<Answer(const std::string& name)> clear;  ///< Of a segment left behind.
    std::function<Answer(const std::string& file)> load;
    std::function<Answer(const std::string& path)> deleteTree;
    std::function<Answer(const std::string& file, const std::string& contents)> replace;
    /// Locks a file against others without waiting. The lock lasts as long as the object.
    std::function<Answer(const std::string& file, std::shared_ptr<void>& object)> lock;
    std::function<void(const std::string& file)> openAndClose;  ///< In another object.
};

/// The library that this program is linked with.
Library ThisLibrary();
