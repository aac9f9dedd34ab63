#pragma once

/// @file
/// The status codes that operations with an `int` result return. They are plain values, not bits,
/// and the library's own: no operation returns an error number of the system or of APR in their
/// place. The numbers 20010 and 20011 are not used.

/// The operation succeeded.
inline constexpr int kelStatusOk = 0;
/// Failure without a code of its own: a system call failed, or the object's state does not allow
/// the operation.
inline constexpr int kelStatusFailed = 20000;
/// The named file does not exist or cannot be reached.
inline constexpr int kelStatusNotFound = 20001;
/// The system refused access to the file.
inline constexpr int kelStatusAccessDenied = 20002;
/// The directory object has no open directory, or rewinding it failed.
inline constexpr int kelStatusNotOpen = 20003;
/// There is no further directory entry: the end was reached, or reading failed.
inline constexpr int kelStatusReadFailed = 20004;
/// Reading or setting an environment variable failed.
inline constexpr int kelStatusNoVariable = 20005;
/// The metadata of a file could not be read. No operation returns this code.
inline constexpr int kelStatusNoFileInfo = 20006;
/// The path argument is an empty string.
inline constexpr int kelStatusEmptyPath = 20007;
/// The source name is an empty string.
inline constexpr int kelStatusEmptySource = 20008;
/// The target name is an empty string.
inline constexpr int kelStatusEmptyTarget = 20009;
/// The current user or the user's home directory could not be found.
inline constexpr int kelStatusNoUser = 20012;
/// What was to be created exists already. Since version 1.1.
inline constexpr int kelStatusExists = 20020;
/// Somebody else holds what was requested. Since version 1.1.
inline constexpr int kelStatusBusy = 20021;
/// The time limit has passed. Since version 1.1.
inline constexpr int kelStatusTimedOut = 20022;
