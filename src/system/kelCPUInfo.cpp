#include "kelCPUInfo.h"

#include "platform/Machine.h"
#include "system/CpuidLeaves.h"

kelCPUInfo& kelCPUInfo::operator=(const kelCPUInfo&) {
    return *this;
}

kelCPUInfo& kelCPUInfo::operator=(kelCPUInfo&&) noexcept {
    return *this;
}

zuString kelCPUInfo::GetCPUID() {
    return zukel::VendorText(zukel::platform::Cpuid(0));
}

int kelCPUInfo::GetNumProcessors() {
    return zukel::platform::NumberOfProcessors();
}

int kelCPUInfo::GetLogicalProcsPerPackage() {
    return zukel::LogicalProcessors(zukel::platform::Cpuid);
}

bool kelCPUInfo::HasCMT() {
    return zukel::HasMultiThreading(zukel::platform::Cpuid);
}
