#include <apr_time.h>

#include <string>

#include "platform/Machine.h"

namespace zukel::platform {

bool FormatDate(const apr_time_exp_t& date, const char* pattern, char* buffer, std::size_t size,
                std::size_t& length) {
    // The call does not change it.
    auto* const exp = const_cast<apr_time_exp_t*>(&date);
    if (apr_strftime(buffer, &length, size, pattern, exp) != APR_SUCCESS) {
        return false;
    }
    if (length != 0) {
        return true;
    }
    // Length 0 means no text, or one that does not fit: a leading space distinguishes the two. At
    // the end, it could complete a directive.
    const std::string marked = std::string(" ") + pattern;
    const bool empty =
        apr_strftime(buffer, &length, size, marked.c_str(), exp) == APR_SUCCESS && length != 0;
    length = 0;
    return empty;
}

}  // namespace zukel::platform
