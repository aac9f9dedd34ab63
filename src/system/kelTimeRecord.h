#pragma once

#include <apr_time.h>

struct kelTimeRecord {
    apr_time_exp_t exp{};   ///< Universal time, local time, or as a caller gave it.
    apr_time_t epoch = -1;  ///< Always universal time; -1 is no valid time.
    bool dated = true;      ///< Otherwise `exp` is still to be made from `epoch`.
};
