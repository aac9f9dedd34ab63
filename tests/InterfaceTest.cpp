// The public interface, held at compile time: a signature that changes does not compile here. Which
// symbols are exported is in exported-symbols.txt; this file holds what symbols do not show:
// results, constness, what can be made, copied and derived from, and fields.

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "zukel.h"

namespace {

/// Whether the operation has exactly this type. Naming the type picks an overload as well.
template <typename Operation>
constexpr bool Has(Operation) {
    return true;
}

template <typename Class>
constexpr bool kCopied = std::is_copy_constructible_v<Class>;
template <typename Class>
constexpr bool kAssigned =
    std::is_same_v<decltype(std::declval<Class&>() = std::declval<const Class&>()), Class&>;
template <typename Class, typename... Arguments>
constexpr bool kMade = std::is_constructible_v<Class, Arguments...>;
template <typename Class>
constexpr bool kPlain = !std::is_polymorphic_v<Class>;  // no virtual operation
template <typename Class>
constexpr bool kDerivable = std::has_virtual_destructor_v<Class>;

using Text = const zuString&;
using U64 = unsigned long long;
using I64 = long long;

static_assert(std::is_same_v<zuString, std::string>);
static_assert(std::is_same_v<zuStlVector<zuString>, std::vector<std::string>>);
static_assert(kelStatusOk == 0 && kelStatusFailed == 20000 && kelStatusNotFound == 20001 &&
              kelStatusAccessDenied == 20002 && kelStatusNotOpen == 20003 &&
              kelStatusReadFailed == 20004 && kelStatusNoVariable == 20005 &&
              kelStatusNoFileInfo == 20006 && kelStatusEmptyPath == 20007 &&
              kelStatusEmptySource == 20008 && kelStatusEmptyTarget == 20009 &&
              kelStatusNoUser == 20012);

using Memory = kelSharedMemory;
static_assert(kMade<Memory> && kMade<Memory, kelLibrary*> && kCopied<Memory> && kAssigned<Memory>);
static_assert(kDerivable<Memory> && sizeof(Memory) == 2 * sizeof(void*));
static_assert(Has<int (Memory::*)(U64, Text)>(&Memory::Create));
static_assert(Has<int (Memory::*)(Text)>(&Memory::Attach));
static_assert(Has<int (Memory::*)()>(&Memory::Detach));
static_assert(Has<int (Memory::*)()>(&Memory::Destroy));
static_assert(Has<int (Memory::*)(Text)>(&Memory::Remove));
static_assert(Has<void* (Memory::*)() const>(&Memory::GetBaseAddress));
static_assert(Has<U64 (Memory::*)() const>(&Memory::GetSize));
static_assert(Has<bool (Memory::*)() const>(&Memory::IsValid));

static_assert(!kMade<kelTime> && kMade<kelTime, I64> && kCopied<kelTime> && kAssigned<kelTime>);
static_assert(kMade<kelTime, int, int, int, int, int, int, int, int, int, int, int>);
static_assert(kPlain<kelTime> && sizeof(kelTime) == sizeof(void*));
static_assert(Has<kelTime (*)()>(&kelTime::GetNow) && Has<kelTime (*)()>(&kelTime::GetCurrentTime));
static_assert(Has<int (kelTime::*)(zuString&, Text) const>(&kelTime::GetFormatTime));
static_assert(Has<I64 (kelTime::*)() const>(&kelTime::GetMicroSeconds));
static_assert(Has<I64 (kelTime::*)() const>(&kelTime::GetSeconds));
static_assert(Has<I64 (kelTime::*)() const>(&kelTime::GetNumericEpochTime));
static_assert(Has<void (kelTime::*)()>(&kelTime::MakeCurrentTime));
static_assert(Has<void (kelTime::*)()>(&kelTime::MakeLocalTime));
static_assert(Has<int (*)(I64)>(&kelTime::Sleep));

using Info = kelMemoryInfo;
static_assert(kMade<Info> && kAssigned<Info> && kPlain<Info> && sizeof(Info) == 9 * sizeof(U64));
static_assert(offsetof(Info, totalPhysical) == 0 && offsetof(Info, usedPhysical) == 8 &&
              offsetof(Info, availablePhysical) == 16 && offsetof(Info, totalVirtual) == 24 &&
              offsetof(Info, usedVirtual) == 32 && offsetof(Info, availableVirtual) == 40 &&
              offsetof(Info, totalPaging) == 48 && offsetof(Info, usedPaging) == 56 &&
              offsetof(Info, availablePaging) == 64);
static_assert(std::is_same_v<decltype(Info::totalPhysical), U64>);

using Disk = zuDiskInfo;
static_assert(kMade<Disk> && kAssigned<Disk> && kPlain<Disk> && sizeof(Disk) == 2 * sizeof(U64));
static_assert(Has<Disk& (Disk::*)(Disk&&)>(&Disk::operator=));
static_assert(offsetof(Disk, freeBytes) == 0 && offsetof(Disk, totalBytes) == 8);
static_assert(std::is_same_v<decltype(Disk::freeBytes), U64>);

static_assert(kMade<kelSystem> && !kCopied<kelSystem> && kAssigned<kelSystem>);
static_assert(std::is_empty_v<kelSystem> &&
              Has<kelSystem& (kelSystem::*)(kelSystem&&)>(&kelSystem::operator=));
static_assert(Has<void (*)(Info&)>(&kelSystem::GetMemoryDetails));
static_assert(Has<U64 (*)()>(&kelSystem::TotalPhysicalMemory) &&
              Has<U64 (*)()>(&kelSystem::UsedPhysicalMemory) &&
              Has<U64 (*)()>(&kelSystem::AvailablePhysicalMemory) &&
              Has<U64 (*)()>(&kelSystem::TotalVirtualMemory) &&
              Has<U64 (*)()>(&kelSystem::UsedVirtualMemory) &&
              Has<U64 (*)()>(&kelSystem::AvailableVirtualMemory) &&
              Has<U64 (*)()>(&kelSystem::TotalPagingMemory) &&
              Has<U64 (*)()>(&kelSystem::UsedPagingMemory) &&
              Has<U64 (*)()>(&kelSystem::AvailablePagingMemory));
static_assert(Has<bool (*)(const char*, Disk&)>(&kelSystem::GetFreeDiskSpace));

static_assert(kMade<kelCPUInfo> && !kCopied<kelCPUInfo> && kAssigned<kelCPUInfo>);
static_assert(std::is_empty_v<kelCPUInfo> &&
              Has<kelCPUInfo& (kelCPUInfo::*)(kelCPUInfo&&)>(&kelCPUInfo::operator=));
static_assert(Has<zuString (*)()>(&kelCPUInfo::GetCPUID));
static_assert(Has<int (*)()>(&kelCPUInfo::GetNumProcessors));
static_assert(Has<int (*)()>(&kelCPUInfo::GetLogicalProcsPerPackage));
static_assert(Has<bool (*)()>(&kelCPUInfo::HasCMT));

static_assert(kMade<kelAtomic> && !kCopied<kelAtomic> && kAssigned<kelAtomic>);
static_assert(kPlain<kelAtomic> && sizeof(kelAtomic) == sizeof(void*));
static_assert(Has<unsigned int (kelAtomic::*)()>(&kelAtomic::Increment));
static_assert(Has<int (kelAtomic::*)()>(&kelAtomic::Decrement));

static_assert(kMade<kelString> && !kCopied<kelString> && kAssigned<kelString>);
static_assert(std::is_empty_v<kelString> &&
              Has<kelString& (kelString::*)(kelString&&)>(&kelString::operator=));
static_assert(Has<int (*)(char*, int, char*, va_list)>(&kelString::vsnprintf));

template <typename Class>
constexpr bool kInterface = kDerivable<Class> && !kCopied<Class> && kAssigned<Class> &&
                            sizeof(Class) == 2 * sizeof(void*);  // the table and one field
static_assert(kInterface<kelMutex> && kMade<kelMutex> && kMade<kelMutex, kelLibrary*>);
static_assert(Has<int (kelMutex::*)()>(&kelMutex::Lock) &&
              Has<int (kelMutex::*)()>(&kelMutex::Trylock) &&
              Has<int (kelMutex::*)()>(&kelMutex::Unlock));
static_assert(kInterface<kelBarrier> && kMade<kelBarrier> && kMade<kelBarrier, std::size_t>);
static_assert(kMade<kelBarrier, kelLibrary*> && kMade<kelBarrier, kelLibrary*, std::size_t>);
static_assert(Has<void (kelBarrier::*)(U64)>(&kelBarrier::Block) &&
              Has<void (kelBarrier::*)()>(&kelBarrier::Reset));
static_assert(kInterface<kelCondition> && kMade<kelCondition> && kMade<kelCondition, kelLibrary*>);
static_assert(kInterface<kelThread> && std::is_abstract_v<kelThread>);
static_assert(Has<void (kelThread::*)()>(&kelThread::ThreadBody));

/// The place of a virtual operation in its table, as the pointer to it encodes it on this platform.
template <typename Operation>
std::ptrdiff_t SlotOf(Operation operation) {
    std::ptrdiff_t word = 0;
    std::memcpy(&word, &operation, sizeof word);
    return (word - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

TEST(Interface, VirtualTables_KeepTheirOrder) {
    // The destructor comes first and has two slots.
    EXPECT_EQ(SlotOf(&kelMutex::Lock), 2);
    EXPECT_EQ(SlotOf(&kelMutex::Trylock), 3);
    EXPECT_EQ(SlotOf(&kelMutex::Unlock), 4);
    EXPECT_EQ(SlotOf(&kelBarrier::Block), 2);
    EXPECT_EQ(SlotOf(&kelBarrier::Reset), 3);
    EXPECT_EQ(SlotOf(&kelThread::ThreadBody), 2);
}

}  // namespace
