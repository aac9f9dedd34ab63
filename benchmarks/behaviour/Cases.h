#pragma once

#include <array>
#include <string>

#include "Library.h"

struct Case {
    const char* name;
    const char* title;
    std::string (*observe)(const Library& library);
};

extern const std::array<Case, 15> kCases;

/// Another process in the case on locks. @returns 0 when it gets the lock.
int TryLock(const Library& library, const char* file);

/// The other side of the case on segments: makes the segment, says so on standard output, and waits
/// to be killed.
int OwnSegment(const Library& library, const char* name);

constexpr const char* kNoOperation = "no such operation";

/// @name Each case, with what was observed in a few words
/// @{
std::string CopyThroughLink(const Library& library);
std::string MoveToOtherVolume(const Library& library);
std::string SwapInTree(const Library& library);
std::string LockAndClose(const Library& library);
std::string ReplaceOnFull(const Library& library);
std::string LoadMissing(const Library& library);
std::string LoadText(const Library& library);
std::string OwnerKilled(const Library& library);
std::string StartMissing(const Library& library);
std::string StartNowhere(const Library& library);
std::string Forget(const Library& library);
std::string AskEnded(const Library& library);
std::string WriteMegabyte(const Library& library);
std::string FloodPipes(const Library& library);
std::string WaitIgnoring(const Library& library);
/// @}

/// "says done", or what it says instead.
std::string Words(const Answer& answer);
