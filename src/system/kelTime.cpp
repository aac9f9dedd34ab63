#include "kelTime.h"

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "frame/StatusMapping.h"
#include "platform/Dates.h"
#include "system/kelTimeRecord.h"

#undef GetCurrentTime  // a macro of <windows.h>, which APR's headers may include

namespace {

constexpr apr_time_t kNoTime = -1;

/// Takes a moment, with its date in UTC.
void Set(kelTimeRecord& record, apr_time_t moment) noexcept {
    // Up to the year 9999 every moment has a date, which is made when it is asked for.
    constexpr apr_time_t kEnd = 253402300800 * APR_USEC_PER_SEC;
    record.dated = moment < 0 || moment >= kEnd;
    if (!record.dated) {
        record.epoch = moment;
        return;
    }
    record.epoch =
        zukel::platform::UniversalDate(record.exp, moment) == APR_SUCCESS ? moment : kNoTime;
}

bool MakeDate(kelTimeRecord& record) noexcept {
    record.dated =
        record.dated || zukel::platform::UniversalDate(record.exp, record.epoch) == APR_SUCCESS;
    return record.dated;
}

/// Whether the microseconds of a date fit 64 bits, to within four days: APR multiplies without a
/// check. The last moment that fits is on 10 January 294247, and every moment before that year
/// passes.
bool FitsMicroSeconds(const apr_time_exp_t& exp) noexcept {
    constexpr double kDay = 24 * 60 * 60;
    constexpr double kYear = 365.2425 * kDay;
    constexpr double kEnd = 9223372036854.0 - 5 * kDay;
    const double seconds = (exp.tm_year - 70.0) * kYear + exp.tm_mon * (kYear / 12) +
                           exp.tm_mday * kDay + exp.tm_hour * 3600.0 + exp.tm_min * 60.0 +
                           exp.tm_sec - std::min(exp.tm_gmtoff, 0);
    return seconds < kEnd;
}

}  // namespace

kelTime::kelTime(long long microSeconds) : record_(new kelTimeRecord) {
    Set(*record_, microSeconds);
}

kelTime::kelTime(int microSeconds, int seconds, int minutes, int hours, int monthDay, int month,
                 int year, int weekDay, int yearDay, int daylightSaving, int secondsEast)
    : record_(new kelTimeRecord{{microSeconds, seconds, minutes, hours, monthDay, month, year,
                                 weekDay, yearDay, daylightSaving, secondsEast},
                                kNoTime,
                                true}) {
    apr_time_t moment = kNoTime;
    if (FitsMicroSeconds(record_->exp) &&
        apr_time_exp_gmt_get(&moment, &record_->exp) == APR_SUCCESS) {
        record_->epoch = moment;
    }
}

kelTime::kelTime(const kelTime& other) : kelTime(other.record_->epoch) {}

kelTime::~kelTime() {
    delete record_;
}

kelTime& kelTime::operator=(const kelTime& other) {
    if (this != &other) {
        Set(*record_, other.record_->epoch);
    }
    return *this;
}

kelTime kelTime::GetNow() {
    return kelTime(apr_time_now());
}

kelTime kelTime::GetCurrentTime() {
    return GetNow();
}

long long kelTime::GetMonotonicTime() {
    using std::chrono::duration_cast;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return duration_cast<std::chrono::microseconds>(now).count();
}

int kelTime::GetFormatTime(zuString& out, const zuString& format) const {
    if (record_->epoch == kNoTime || !MakeDate(*record_)) {
        return zukel::Fail(APR_EINVAL);
    }
    char buffer[256];
    std::size_t length = 0;
    if (!zukel::platform::FormatDate(record_->exp, format.c_str(), buffer, sizeof buffer, length)) {
        return zukel::Fail(ERANGE);
    }
    out.assign(buffer, length);
    return kelStatusOk;
}

long long kelTime::GetMicroSeconds() const {
    return record_->epoch > 0 ? record_->epoch : -1;
}

long long kelTime::GetSeconds() const {
    return record_->epoch > 0 ? record_->epoch / APR_USEC_PER_SEC : -1;
}

long long kelTime::GetNumericEpochTime() const {
    return record_->epoch;
}

void kelTime::MakeCurrentTime() {
    Set(*record_, apr_time_now());
}

void kelTime::MakeLocalTime() {
    if (record_->epoch == kNoTime) {
        record_->epoch = apr_time_now();
    }
    zukel::platform::ReadTimeZone();
    record_->dated = true;
    if (zukel::platform::LocalDate(record_->exp, record_->epoch) != APR_SUCCESS) {
        record_->epoch = kNoTime;
    }
}

int kelTime::Sleep(long long microSeconds) {
    using std::chrono::duration_cast;
    using std::chrono::microseconds;
    using std::chrono::steady_clock;
    // Signals interrupt APR's sleep, and on Windows its length is limited to 32 bits of
    // milliseconds.
    constexpr long long kLongest = 3600LL * APR_USEC_PER_SEC;
    const auto start = steady_clock::now();
    for (long long left = microSeconds; left > 0;) {
        apr_sleep(std::min(left, kLongest));
        left = microSeconds - duration_cast<microseconds>(steady_clock::now() - start).count();
    }
    return kelStatusOk;
}
