#pragma once

#include "kelExport.h"
#include "zuString.h"

/// What the processor tells of itself by its CPUID instruction, and how many processors there are.
/// There is no state: all operations are static, may be called from any thread and ask anew at
/// every call. The runtime is neither needed nor started.
///
/// CPUID answers for the processor that runs the calling thread, and a virtual machine may change
/// the answer. The figures of a package are those of the vendors "GenuineIntel" and "AuthenticAMD"
/// alone, by the leaves 1, 0x80000001 and 0x80000008. On a processor without the instruction the
/// vendor text is empty and the answers are those for any other vendor.
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

    /// The vendor's text of twelve characters, such as "GenuineIntel". No model, no serial number.
    static zuString GetCPUID();

    /// How many processors the system runs, each hardware thread counted. Linux: those online, also
    /// when the process is bound to fewer of them. Windows: those of the process's group. 0 when
    /// the platform cannot tell.
    static int GetNumProcessors();

    /// How many logical processors a package holds, as its leaves tell; 1 for any other vendor.
    /// "GenuineIntel" tells the room for processor numbers, which can be more than there are, and a
    /// 0 is handed on.
    static int GetLogicalProcsPerPackage();

    /// Whether the package reports multi-threading: the flag of leaf 1, which "AuthenticAMD" sets
    /// for several cores too, and is then not believed. False for any other vendor.
    static bool HasCMT();
};
