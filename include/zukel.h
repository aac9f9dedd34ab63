#pragma once

/// @file
/// The whole interface of the library.

#include "kelCPUInfo.h"
#include "kelDirectory.h"
#include "kelFile.h"
#include "kelFileInfo.h"
#include "kelLibrary.h"
#include "kelMemoryInfo.h"
#include "kelSharedMemory.h"
#include "kelStatus.h"
#include "kelSystem.h"
#include "kelTime.h"
#include "zuDiskInfo.h"
#include "zuString.h"
