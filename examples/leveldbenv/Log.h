#pragma once

#include <leveldb/env.h>

#include <string>

/// Opens a new file for what LevelDB tells of its work, a line each with the moment and the thread.
///
/// @param result receives what the caller deletes, or null.
leveldb::Status OpenLog(const std::string& name, leveldb::Logger** result);
