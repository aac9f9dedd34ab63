#pragma once

/// @file
/// The whole interface of the library: everything below has its own header too.
///
/// | For                                           | Header                                 |
/// |-----------------------------------------------|----------------------------------------|
/// | reading and writing files; files by name      | kelFile.h                              |
/// | the parts of a file's name, and its metadata     | kelFileInfo.h                          |
/// | directories, and the text of paths            | kelDirectory.h                         |
/// | environment, user, host, names; APR           | kelLibrary.h                           |
/// | starting, feeding, watching, ending programs  | kelProcess.h, kelProcessOptions.h      |
/// | plug-ins                                      | kelDynamicObject.h                     |
/// | memory that processes share                   | kelSharedMemory.h                      |
/// | files in memory                               | kelMappedFile.h                        |
/// | moments, dates as text, sleeping              | kelTime.h                              |
/// | memory and disk statistics                    | kelSystem.h                            |
/// | the processor                                 | kelCPUInfo.h                           |
/// | a counter for many threads                    | kelAtomic.h                            |
/// | formatting into a buffer                      | kelString.h                            |
/// | base classes to derive from                   | kelMutex.h, kelThread.h and two others |
/// | statuses; text and lists                      | kelStatus.h, zuString.h                |
///
/// Unless a header says otherwise:
/// - an operation with an `int` result returns `kelStatusOk`, which is 0, or another status of
///   kelStatus.h;
/// - output arguments change only on success;
/// - nothing throws except `std::bad_alloc`;
/// - the caller owns what is returned by value;
/// - a destructor closes what its object holds and ignores the status;
/// - one thread at a time may use an object; any number may use different objects and static
///   operations;
/// - after `fork` in a program with other threads, call nothing before `exec`.
///
/// APR is the Apache Portable Runtime, on which the library is built. The operations that need it,
/// which kelLibrary.h names, start it themselves. If APR runs out of memory it aborts the process.

#include "kelAtomic.h"
#include "kelBarrier.h"
#include "kelCPUInfo.h"
#include "kelCondition.h"
#include "kelDirectory.h"
#include "kelDynamicObject.h"
#include "kelFile.h"
#include "kelFileInfo.h"
#include "kelLibrary.h"
#include "kelMappedFile.h"
#include "kelMemoryInfo.h"
#include "kelMutex.h"
#include "kelProcess.h"
#include "kelProcessOptions.h"
#include "kelSharedMemory.h"
#include "kelStatus.h"
#include "kelString.h"
#include "kelSystem.h"
#include "kelThread.h"
#include "kelTime.h"
#include "zuDiskInfo.h"
#include "zuString.h"
