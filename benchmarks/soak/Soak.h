#pragma once

#include <array>
#include <string>

/// What must not grow in a process that lives long, read while nothing else goes on in it.
struct Figures {
    long long inUse;        ///< Bytes mapped, less what the C library's allocator has in stock.
    long long resident;     ///< Bytes of memory in use, whoever has asked for them.
    long long descriptors;  ///< Open ones.
    long long zombies;      ///< Ended children that nobody has collected.
};

Figures ReadFigures();

/// Ends the program with a message when something did not succeed.
void Check(bool succeeded, const char* what);

/// The place where the jobs work: a directory with files to list, removed at the end.
class Place {
public:
    static constexpr int kFiles = 40;

    Place();
    ~Place();
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
    const std::string& Path() const { return path_; }
    std::string File() const { return path_ + "/0"; }
    std::string Copy() const { return path_ + "/copy"; }

private:
    std::string path_;
};

/// Makes, uses and drops one object of a class, or uses one that stays ("one ..."); `number` tells
/// the times apart.
struct Job {
    const char* name;
    void (*run)(const Place& place, long long number);
};

extern const std::array<Job, 20> kJobs;

/// Starts a short child; by its number it is waited for, killed, or forgotten.
void RunChild(long long number);
/// Waits until all children have ended, and lets the library collect them.
void SettleChildren();
/// Lists the place, in whatever thread.
void List(const Place& place);
