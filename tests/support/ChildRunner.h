#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>

#include "kelProcess.h"

/// Children of tests: a process of its own for what may start, signal or collect others.
namespace zukel::test {

/// Runs the body in a child process, and fails the test when a check in it fails, when it crashes,
/// or when it takes longer than a minute, at which it is ended. Nothing that the body does to its
/// descriptors, signals or children reaches the test program.
void InChild(const std::function<void()>& body);

/// Waits until the condition holds, for ten seconds at most; tells whether it does.
bool Eventually(const std::function<bool()>& condition);

/// How many descriptors this process has open.
std::size_t Descriptors();

/// Waits until the process has ended, in vain if need be.
bool Ends(const kelProcess& process);

/// Expects an object without a process, that tells this text.
void ExpectIdle(kelProcess& process, const std::string& text, const char* why);

/// The children of this process that have ended and that nobody has collected. Collects them.
int CollectZombies();

/// Whether this process has children, ended or not.
bool HasChildren();

/// Makes a child of this process that has the number `pid`, which nobody may have, and that waits
/// for a signal. Needs root. @returns the number, or -1.
pid_t ForkAs(pid_t pid);

/// Whether this process is the first of a namespace of process numbers of its own from here on, for
/// a body of `InChild`. Needs root.
bool InOwnNumbers(const std::function<void()>& body);

/// Makes a system call fail with this error from here on, as a sandbox or an older system does, for
/// a body of `InChild`. @param first the call fails when this is its first argument; -1: always.
bool Withhold(int call, int error, int first = -1);

}  // namespace zukel::test
