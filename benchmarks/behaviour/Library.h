#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using Text = const std::string&;

struct Command {
    std::vector<std::string> words;  ///< The program first.
    std::string directory;           ///< Empty: the caller's.
    bool throughPipe = false;        ///< Its output goes to the caller, who does not read it.

    std::vector<std::string> Arguments() const { return {words.begin() + 1, words.end()}; }
    /// All words, and a null pointer.
    std::vector<const char*> Pointers() const {
        std::vector<const char*> pointers;
        for (const std::string& word : words) {
            pointers.push_back(word.c_str());
        }
        pointers.push_back(nullptr);
        return pointers;
    }
};

struct Description {
    std::string name;
    std::string version;
    std::string calls;  ///< Which operations of the library are used here.
};

/// Thrown by an operation that the library does not have.
struct Lacking {};

/// Throws the reason that the library gives for a refusal, if it gives one.
inline void Check(bool done, Text reason = "") {
    if (!done) {
        throw std::runtime_error(reason);
    }
}

/// What one library does for each of the jobs. A refusal is an exception.
class Library {
public:
    virtual ~Library() = default;
    virtual Description About() const = 0;
    /// The reason in an exception of the library.
    virtual std::string Reason(const std::exception& refusal) const { return refusal.what(); }

    virtual void Copy(Text from, Text to) = 0;
    virtual void Move(Text from, Text to) = 0;
    virtual void DeleteTree(Text) { throw Lacking(); }
    virtual void Replace(Text, Text /*contents*/) { throw Lacking(); }
    /// Locks a file against others without waiting, for as long as the program runs.
    virtual void Lock(Text) { throw Lacking(); }
    virtual void OpenAndClose(Text) { throw Lacking(); }  ///< The locked file, by another object.
    virtual void Load(Text module) = 0;

    /// Starts a child, which is the one of the next three functions, and returns its process ID.
    virtual long Start(const Command& command) = 0;
    virtual bool IsRunning() = 0;
    virtual int Wait() = 0;                   ///< Returns the exit code, -1 when it is not known.
    virtual void Forget() = 0;                ///< Drops the child's object.
    virtual void Turn() { throw Lacking(); }  ///< One turn of the library's event loop.
    /// Runs a program and reads both of its outputs, by the shortest way that the library has.
    virtual void Collect(const Command& command, std::string& output, std::string& errors) = 0;

    /// Each of these two holds a segment until the next one or Release, and returns its address.
    virtual char* Create(Text, std::size_t) { throw Lacking(); }
    virtual char* Attach(Text, std::size_t) { throw Lacking(); }
    virtual void Release() {}
    virtual void Clear(Text) { throw Lacking(); }  ///< A segment that was left behind.
};

/// The library that this program is linked with.
std::unique_ptr<Library> ThisLibrary();
