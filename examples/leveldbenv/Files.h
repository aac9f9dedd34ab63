#pragma once

#include <leveldb/env.h>

#include <atomic>
#include <string>

/// Opens a file for each of the three ways in which LevelDB uses one. `result` receives what the
/// caller deletes, or null.

/// Read from its start on: logs and manifests.
leveldb::Status OpenSequential(const std::string& name, leveldb::SequentialFile** result);

/// Read anywhere, by any number of threads: tables, which nobody changes once they are written.
///
/// @param mappings how many files may still be mapped; outlives the file.
leveldb::Status OpenRandomAccess(const std::string& name, std::atomic<int>& mappings,
                                 leveldb::RandomAccessFile** result);

/// Written from its start or its end on.
///
/// @param mode `kelFile::ModeTruncate` or `kelFile::ModeAppend`.
leveldb::Status OpenWritable(const std::string& name, int mode, leveldb::WritableFile** result);
