#pragma once

/// @file
/// Visibility of the exported classes, and a check for C++17. An application needs nothing from
/// this file, except that one which links the static library on Windows defines `ZUKEL_STATIC`
/// before it includes any header.

#if __cplusplus < 201703L && (!defined(_MSVC_LANG) || _MSVC_LANG < 201703L)
#error "zukel needs C++17: compile with -std=c++17 or later"
#endif

#if defined(_WIN32) && !defined(ZUKEL_STATIC)
#if defined(ZUKEL_BUILDING)
#define KEL_API __declspec(dllexport)
#else
#define KEL_API __declspec(dllimport)
#endif
#elif defined(_WIN32)
#define KEL_API
#else
#define KEL_API __attribute__((visibility("default")))
#endif
