#pragma once

#include <string>
#include <vector>

/// The place where the jobs work: a directory with files to list, removed at the end.
class Place {
public:
    static constexpr int kFiles = 40;

    Place();
    ~Place();
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
    /// Lists it, in whatever thread.
    void List() const;

    const std::string path;
    const std::string file;
};

/// Makes, uses and drops one object of a class, or uses one that stays ("one ..."); `number` tells
/// the times apart.
struct Job {
    const char* name;
    void (*run)(const Place& place, long long number);
};

const std::vector<Job>& Jobs();

/// Starts a short child; by its number it is waited for, killed, or forgotten.
void RunChild(long long number);
