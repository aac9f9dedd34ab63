#pragma once

#include "kelExport.h"
#include "zuString.h"

/// What the processor reports by its CPUID instruction, and the number of processors. The class has
/// no state: all operations are static, may be called from any thread, query again at every call,
/// and do not need APR.
///
/// CPUID describes the processor that runs the calling thread, and a virtual machine may change its
/// answers. Package values are known for the vendors "GenuineIntel" and "AuthenticAMD" only, from
/// the leaves 1, 0x80000001 and 0x80000008. On a processor without the instruction the vendor text
/// is empty, and the other results are those for any other vendor.
///
/// @code
/// const int workers = std::max(1, kelCPUInfo::GetNumProcessors());
/// std::printf("%d workers on \"%s\"\n", workers, kelCPUInfo::GetCPUID().c_str());
/// @endcode
class KEL_API kelCPUInfo {
public:
    /// Returns the object: there is nothing to copy.
    kelCPUInfo& operator=(const kelCPUInfo& other);
    /// The same.
    kelCPUInfo& operator=(kelCPUInfo&& other) noexcept;

    /// The vendor's twelve characters, such as "GenuineIntel"; not a model or a serial number.
    static zuString GetCPUID();

    /// The number of processors that the system runs, counting each hardware thread; 0 if unknown.
    /// Linux: those online, even if the process is bound to fewer of them. Windows: those of the
    /// process's processor group.
    static int GetNumProcessors();

    /// The number of logical processors in a package, as its CPUID leaves report it; 1 for any
    /// other vendor. Intel: the number of APIC ids reserved, which may exceed the real count; a 0
    /// is passed through.
    static int GetLogicalProcsPerPackage();

    /// Whether the package reports multi-threading: the HTT flag of leaf 1. AMD: ignored if
    /// CmpLegacy says that it stands for cores. False for any other vendor.
    static bool HasCMT();
};
