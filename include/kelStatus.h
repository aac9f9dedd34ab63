#pragma once

/// @file
/// The status codes that operations with an `int` result return. They are plain values, not bits,
/// and they are the library's own: no error number of the system or of the runtime is ever returned
/// in their place. The numbers 20010 and 20011 are not in use.

/// The operation succeeded.
inline constexpr int kelStatusOk = 0;
/// Failure without a finer code: a system call failed, or the object is not in a state for the
/// operation.
inline constexpr int kelStatusFailed = 20000;
/// The named file does not exist or cannot be reached.
inline constexpr int kelStatusNotFound = 20001;
/// The system refused access to the file.
inline constexpr int kelStatusAccessDenied = 20002;
/// The directory object has no open directory, or rewinding it failed.
inline constexpr int kelStatusNotOpen = 20003;
/// Reading the next directory entry gave nothing; the plain end of the directory is told so too.
inline constexpr int kelStatusReadFailed = 20004;
/// Reading or setting an environment variable failed.
inline constexpr int kelStatusNoVariable = 20005;
/// The facts of a file could not be loaded. No operation returns this code.
inline constexpr int kelStatusNoFileInfo = 20006;
/// The path argument is an empty string.
inline constexpr int kelStatusEmptyPath = 20007;
/// The source name is an empty string.
inline constexpr int kelStatusEmptySource = 20008;
/// The target name is an empty string.
inline constexpr int kelStatusEmptyTarget = 20009;
/// The current user or the user's home directory could not be found.
inline constexpr int kelStatusNoUser = 20012;
/// The time given for waiting is over.
inline constexpr int kelStatusTimedOut = 20022;
