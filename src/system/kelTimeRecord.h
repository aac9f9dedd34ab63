#pragma once

#include <apr_time.h>

struct kelTimeRecord {
    apr_time_exp_t exp{};   ///< UTC, local time, or as a caller gave it.
    apr_time_t epoch = -1;  ///< Always UTC; -1 is invalid.
    bool dated = true;      ///< Otherwise `exp` is still to be made from `epoch`.
};
