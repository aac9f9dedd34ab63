#pragma once

/// @file
/// The whole interface of the library.

#include "kelAtomic.h"
#include "kelBarrier.h"
#include "kelCPUInfo.h"
#include "kelCondition.h"
#include "kelDirectory.h"
#include "kelDynamicObject.h"
#include "kelFile.h"
#include "kelFileInfo.h"
#include "kelLibrary.h"
#include "kelMemoryInfo.h"
#include "kelMutex.h"
#include "kelProcess.h"
#include "kelSharedMemory.h"
#include "kelStatus.h"
#include "kelString.h"
#include "kelSystem.h"
#include "kelThread.h"
#include "kelTime.h"
#include "zuDiskInfo.h"
#include "zuString.h"
