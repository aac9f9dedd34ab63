// The texts that name the platform. cmake/PlatformTexts.cmake selects them and defines them for
// this file alone.

#include "kelLibrary.h"

const char* kelLibrary::GetPlatform() {
    return ZUKEL_PLATFORM;
}

const char* kelLibrary::GetPlatformBase() {
    return ZUKEL_PLATFORM_BASE;
}

const char* kelLibrary::GetSharedLibPrefix() {
    return ZUKEL_SHARED_LIB_PREFIX;
}

const char* kelLibrary::GetSharedLibSuffix() {
    return ZUKEL_SHARED_LIB_SUFFIX;
}
