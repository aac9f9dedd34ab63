#include "platform/Machine.h"

#include <cpuid.h>

#include <cstring>
#include <memory>
#include <new>

#include "platform/windows/WideName.h"

namespace zukel::platform {

MemoryBytes QueryMemory() noexcept {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    if (GlobalMemoryStatusEx(&status) == 0) {
        return {};
    }
    return {status.ullTotalPhys,    status.ullAvailPhys,     status.ullTotalVirtual,
            status.ullAvailVirtual, status.ullTotalPageFile, status.ullAvailPageFile};
}

bool QueryDisk(const char* path, DiskBytes& disk) noexcept {
    const std::size_t length = std::strlen(path);
    const std::unique_ptr<char[]> directory(new (std::nothrow) char[length + 2]);
    if (!directory || length == 0) {  // the empty name would stand for the current disk
        return false;
    }
    std::memcpy(directory.get(), path, length + 1);
    if (std::strchr("/\\:", path[length - 1]) == nullptr) {  // which the name of a share needs
        std::memcpy(directory.get() + length, "\\", 2);
    }
    const WideName name(directory.get());
    ULARGE_INTEGER available{};
    ULARGE_INTEGER total{};
    ULARGE_INTEGER free{};
    if (!name || GetDiskFreeSpaceExW(name.Get(), &available, &total, &free) == 0) {
        return false;
    }
    disk.available = available.QuadPart;
    disk.total = total.QuadPart;
    return true;
}

int NumberOfProcessors() noexcept {
    SYSTEM_INFO info{};
    GetSystemInfo(&info);
    return static_cast<int>(info.dwNumberOfProcessors);
}

CpuRegisters Cpuid(std::uint32_t leaf) noexcept {
    CpuRegisters registers;
    __cpuid_count(leaf, 0, registers.eax, registers.ebx, registers.ecx, registers.edx);
    return registers;
}

apr_status_t UniversalDate(apr_time_exp_t& date, apr_time_t moment) noexcept {
    constexpr apr_time_t kDay = APR_TIME_C(86400) * APR_USEC_PER_SEC;
    apr_time_t days = moment / kDay;
    apr_time_t rest = moment % kDay;
    if (rest < 0) {
        rest += kDay;
        --days;
    }
    const auto seconds = static_cast<int>(rest / APR_USEC_PER_SEC);
    // Days and years counted from the first of March of the year 0 of the Gregorian calendar, whose
    // eras of 400 years are alike; a leap day is then the last of its year.
    const apr_time_t since = days + 719468;
    const apr_time_t era = (since >= 0 ? since : since - 146096) / 146097;
    const auto dayOfEra = static_cast<int>(since - era * 146097);
    const int yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int month = (5 * dayOfYear + 2) / 153;  // 0 is March
    const apr_time_t year = era * 400 + yearOfEra + (month >= 10 ? 1 : 0);
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    date = {};
    date.tm_usec = static_cast<int>(rest % APR_USEC_PER_SEC);
    date.tm_sec = seconds % 60;
    date.tm_min = seconds / 60 % 60;
    date.tm_hour = seconds / 3600;
    date.tm_mday = dayOfYear - (153 * month + 2) / 5 + 1;
    date.tm_mon = month >= 10 ? month - 10 : month + 2;
    date.tm_year = static_cast<int>(year - 1900);
    date.tm_wday = static_cast<int>(((days + 4) % 7 + 7) % 7);
    date.tm_yday = month >= 10 ? dayOfYear - 306 : dayOfYear + 59 + (leap ? 1 : 0);
    return APR_SUCCESS;
}

apr_status_t LocalDate(apr_time_exp_t& date, apr_time_t moment) noexcept {
    constexpr apr_time_t kFirst = APR_TIME_C(-11644473600) * APR_USEC_PER_SEC;  // 1601
    constexpr apr_time_t kLast = APR_TIME_C(910670428800) * APR_USEC_PER_SEC;   // 30828
    return moment >= kFirst && moment < kLast ? apr_time_exp_lt(&date, moment) : APR_EINVAL;
}

void ReadTimeZone() noexcept {}

}  // namespace zukel::platform
