#pragma once

/// @file
/// The whole interface of the library.

#include "kelDirectory.h"
#include "kelFile.h"
#include "kelFileInfo.h"
#include "kelLibrary.h"
#include "kelStatus.h"
#include "zuString.h"
