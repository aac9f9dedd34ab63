#pragma once

#include <leveldb/env.h>

#include <atomic>
#include <string>

/// Functions that open a file, one for each of LevelDB's kinds. `result` receives an object that
/// the caller deletes, or null.

/// For sequential reads: logs and manifests.
leveldb::Status OpenSequential(const std::string& name, leveldb::SequentialFile** result);

/// For reads at any offset, by any number of threads: tables, which never change once written.
///
/// @param mappings how many files may still be mapped; outlives the file.
leveldb::Status OpenRandomAccess(const std::string& name, std::atomic<int>& mappings,
                                 leveldb::RandomAccessFile** result);

/// For writes.
///
/// @param mode `kelFile::ModeTruncate` or `kelFile::ModeAppend`.
leveldb::Status OpenWritable(const std::string& name, int mode, leveldb::WritableFile** result);
