#pragma once

#include <apr_errno.h>

#include "zuString.h"

/// What the platform provides for the reasons of failures. Plain functions,
/// chosen at link time: one folder below this one implements each of them.
namespace zukel::platform {

/// The system's own number for a status: `errno` (Linux) or an error code (Windows). A status that
/// APR has added gets the number that is nearest in meaning.
///
/// @returns 0 for `APR_SUCCESS` alone.
int SystemNumber(apr_status_t status) noexcept;

/// The system's text for one of its numbers, without a line ending. Windows: in the user's
/// language, as UTF-8. Throws `std::bad_alloc`.
zuString SystemText(int number);

}  // namespace zukel::platform
