#pragma once

/// @file
/// The whole interface of the library.

#include "kelFile.h"
#include "kelFileInfo.h"
#include "kelLibrary.h"
#include "kelStatus.h"
#include "zuString.h"
