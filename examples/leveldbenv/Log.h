#pragma once

#include <leveldb/env.h>

#include <string>

/// Creates the file of LevelDB's log messages: one line each, with the time and the thread.
///
/// @param result receives an object that the caller deletes, or null.
leveldb::Status OpenLog(const std::string& name, leveldb::Logger** result);
