#pragma once

// The system's headers, in the order in which they take each other. The runtime's would leave parts
// of them out.

// clang-format off
#include <winsock2.h>
#include <windows.h>
#include <apr.h>
// clang-format on
