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
    bool hasPipes = true;
    std::function<void()> turn;  ///< One turn of the library's event loop, if it has one.
    std::function<Answer(const std::string& name, std::size_t size, Segment& segment)> create;
    std::function<Answer(const std::string& name, std::size_t size, Segment& segment)> attach;
    std::function<Answer(const std::string& name)> clear;  ///< Of a segment left behind.
    std::function<Answer(const std::string& file)> load;
};

/// The library that this program is linked with.
Library ThisLibrary();
