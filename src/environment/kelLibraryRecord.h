#pragma once

#include <array>
#include <forward_list>

#include "frame/AprUse.h"
#include "frame/SharedRecord.h"

struct kelLibraryRecord : zukel::SharedRecord {
    zukel::AprUse apr;
    std::forward_list<std::array<char, 24>> locales;  ///< The texts that `GetLocale` has returned.
};
