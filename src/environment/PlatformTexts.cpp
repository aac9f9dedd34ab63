// The platform in fixed words. cmake/PlatformTexts.cmake chooses them and gives them to this file
// alone.

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
