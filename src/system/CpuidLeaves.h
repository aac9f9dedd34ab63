#pragma once

#include <algorithm>
#include <cstdint>

#include "platform/Machine.h"
#include "zuString.h"

/// Decoding of CPUID, as functions of the registers alone. `Reader` returns the
/// `platform::CpuRegisters` of a leaf; only leaves that are needed are read.
namespace zukel {

/// The vendor's text: three registers of leaf 0, lowest byte first, up to a zero.
inline zuString VendorText(const platform::CpuRegisters& leaf0) {
    zuString text;
    for (const std::uint32_t part : {leaf0.ebx, leaf0.edx, leaf0.ecx}) {
        for (unsigned shift = 0; shift < 32; shift += 8) {
            text.push_back(static_cast<char>((part >> shift) & 0xFFU));
        }
    }
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

/// The package, as leaf 1 and the vendor's own leaf report it.
struct Package {
    enum class Vendor { Intel, Amd, Other };

    Vendor vendor = Vendor::Other;
    std::int32_t highest = 0;  ///< Leaf; below 1 nothing that follows is filled.
    std::uint32_t highestExtended = 0;
    bool multiThreading = false;
    int logical = 0;           ///< Logical processors.
    bool legacyCores = false;  ///< The logical processors are cores.
};

template <typename Reader>
Package ReadPackage(Reader read) {
    Package package;
    const platform::CpuRegisters leaf0 = read(0U);
    const zuString vendor = VendorText(leaf0);
    if (vendor == "GenuineIntel") {
        package.vendor = Package::Vendor::Intel;
    } else if (vendor == "AuthenticAMD") {
        package.vendor = Package::Vendor::Amd;
    } else {
        return package;
    }
    package.highest = static_cast<std::int32_t>(leaf0.eax);
    if (package.highest < 1) {
        return package;
    }
    const platform::CpuRegisters features = read(1U);
    package.multiThreading = ((features.edx >> 28U) & 1U) != 0;
    package.logical = static_cast<int>((features.ebx >> 16U) & 0xFFU);
    if (package.vendor == Package::Vendor::Amd) {
        package.highestExtended = read(0x80000000U).eax;
        package.legacyCores =
            package.highestExtended >= 0x80000001U && ((read(0x80000001U).ecx >> 1U) & 1U) != 0;
    }
    return package;
}

template <typename Reader>
bool HasMultiThreading(Reader read) {
    const Package package = ReadPackage(read);
    return package.multiThreading && !package.legacyCores;
}

template <typename Reader>
int LogicalProcessors(Reader read) {
    const Package package = ReadPackage(read);
    if (package.highest < 1) {
        return 1;
    }
    if (package.vendor == Package::Vendor::Intel) {
        return package.multiThreading || package.highest >= 4 ? package.logical : 1;
    }
    if (!package.legacyCores && !package.multiThreading) {
        return 1;
    }
    const int cores = package.highestExtended >= 0x80000008U
                          ? static_cast<int>(read(0x80000008U).ecx & 0xFFU) + 1
                          : 1;
    return package.legacyCores ? cores : cores * package.logical;
}

}  // namespace zukel
