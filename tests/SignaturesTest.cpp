// Every signature of the public interface, held at compile time: one that changes does not compile
// here. Which symbols are exported is in exported-symbols.txt, what can be copied and derived from
// in InterfaceTest.cpp.

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
template <typename Class, typename... Arguments>
constexpr bool kMade = std::is_constructible_v<Class, Arguments...>;

using Text = const zuString&;
using List = zuStlVector<zuString>;
using U64 = unsigned long long;
using I64 = long long;
using Library = const kelLibrary*;

using Env = kelLibrary;
static_assert(kMade<Env> && kMade<Env, const Env&>);
static_assert(Has<int (Env::*)()>(&Env::Initialize) && Has<int (Env::*)()>(&Env::Terminate));
static_assert(Has<int (Env::*)(zuString&, Text)>(&Env::GetEnvironmentVariable));
static_assert(Has<int (Env::*)(Text, Text)>(&Env::SetEnvironmentVariable));
static_assert(Has<int (Env::*)(zuString&)>(&Env::GetCurrentUserName) &&
              Has<int (Env::*)(zuString&)>(&Env::GetUserDirectory) &&
              Has<int (Env::*)(zuString&)>(&Env::GetHostName));
static_assert(Has<const char* (Env::*)() const>(&Env::GetLocale));
static_assert(Has<zuString (Env::*)() const>(&Env::GetTempDir));
static_assert(Has<const char* (*)()>(&Env::GetPlatform) &&
              Has<const char* (*)()>(&Env::GetPlatformBase) &&
              Has<const char* (*)()>(&Env::GetSharedLibPrefix) &&
              Has<const char* (*)()>(&Env::GetSharedLibSuffix));
static_assert(Has<zuString (*)(Text)>(&Env::GetAbsoluteFileName) &&
              Has<zuString (*)(Text)>(&Env::GetAbsoluteLibraryName));

using Dir = kelDirectory;
static_assert(kMade<Dir> && kMade<Dir, kelLibrary*> && kMade<Dir, Text> && kMade<Dir, const Dir&>);
static_assert(Has<zuString (*)(Text)>(&Dir::CleanPath) &&
              Has<bool (*)(Text)>(&Dir::IsRelativePath) &&
              Has<zuString (*)(Text)>(&Dir::GetAbsolutePath) &&
              Has<zuString (*)(Text, Text)>(&Dir::GetRelativePath));
static_assert(Has<int (Dir::*)(Text)>(&Dir::Open) && Has<int (Dir::*)()>(&Dir::Close) &&
              Has<int (Dir::*)(zuString&)>(&Dir::ReadFirst) &&
              Has<int (Dir::*)(zuString&)>(&Dir::ReadNext) &&
              Has<zuString (Dir::*)() const>(&Dir::GetName) &&
              Has<int (Dir::*)()>(&Dir::GetNumberOfFiles));
static_assert(Has<List (Dir::*)()>(&Dir::GetFileNames) && Has<List (*)(Text)>(&Dir::GetFileNames));
static_assert(Has<int (*)(Text, int, bool)>(&Dir::Create) &&
              Has<int (*)(Library, Text, int, bool)>(&Dir::Create) &&
              Has<int (*)(Text)>(&Dir::Delete) && Has<int (*)(Library, Text)>(&Dir::Delete));
static_assert(Has<zuString (*)()>(&Dir::GetCurrentDirectory) &&
              Has<zuString (*)(Library)>(&Dir::GetCurrentDirectory) &&
              Has<int (*)(Text)>(&Dir::SetCurrentDirectory) &&
              Has<int (*)(Library, Text)>(&Dir::SetCurrentDirectory));

using File = kelFile;
template <typename T>
constexpr bool Moves() {
    return Has<int (File::*)(T&)>(&File::Read) && Has<int (File::*)(T)>(&File::Write) &&
           Has<int (File::*)(T*, U64&)>(&File::Read) &&
           Has<int (File::*)(const T*, U64&)>(&File::Write);
}
static_assert(Moves<char>() && Moves<short>() && Moves<unsigned short>() && Moves<wchar_t>() &&
              Moves<int>() && Moves<unsigned int>() && Moves<long>() && Moves<unsigned long>() &&
              Moves<float>() && Moves<double>());
static_assert(kMade<File> && kMade<File, kelLibrary*> && kMade<File, Text, int>);
static_assert(Has<int (File::*)(Text, int)>(&File::Open) && Has<int (File::*)()>(&File::Close) &&
              Has<bool (File::*)() const>(&File::IsOpen) &&
              Has<zuString (File::*)() const>(&File::GetFileName) &&
              Has<int (File::*)(Text)>(&File::CreateTemporaryFile));
static_assert(Has<int (File::*)(char*, U64)>(&File::ReadLine) &&
              Has<int (File::*)(const char*)>(&File::WriteLine) &&
              Has<int (File::*)(I64)>(&File::SeekTo) && Has<int (File::*)()>(&File::SeekToBegin) &&
              Has<int (File::*)()>(&File::SeekToEnd) && Has<bool (File::*)()>(&File::EndOfFile) &&
              Has<int (File::*)()>(&File::Flush));
static_assert(Has<int (*)(Text, Text, int)>(&File::Copy) &&
              Has<int (*)(Library, Text, Text, int)>(&File::Copy) &&
              Has<int (*)(Text, Text, int)>(&File::NativeCopy) &&
              Has<int (*)(Text, Text)>(&File::Rename) &&
              Has<int (*)(Library, Text, Text)>(&File::Rename) &&
              Has<int (*)(Text, Text)>(&File::NativeRename));
static_assert(Has<int (*)(Text)>(&File::Delete) && Has<int (*)(Library, Text)>(&File::Delete) &&
              Has<bool (*)(Text)>(&File::Exists) && Has<int (*)(Library, Text)>(&File::Exists) &&
              Has<int (*)(Text, int)>(&File::SetPermissions) &&
              Has<int (*)(Library, Text, int)>(&File::SetPermissions));
static_assert(Has<bool (File::*)() const>(&File::IsReadable) &&
              Has<bool (File::*)() const>(&File::IsWritable));

using Facts = kelFileInfo;
static_assert(kMade<Facts, Text> && kMade<Facts, kelLibrary*, Text> && !kMade<Facts>);
static_assert(Has<void (Facts::*)(kelLibrary*)>(&Facts::SetLibrary));
static_assert(Has<zuString (Facts::*)() const>(&Facts::GetFilePath) &&
              Has<zuString (Facts::*)() const>(&Facts::GetPath) &&
              Has<zuString (Facts::*)() const>(&Facts::GetFileName) &&
              Has<zuString (Facts::*)() const>(&Facts::GetBaseName) &&
              Has<zuString (Facts::*)() const>(&Facts::GetFileExtension));
static_assert(Has<Facts::FileType (Facts::*)() const>(&Facts::GetType) &&
              Has<int (Facts::*)() const>(&Facts::GetSize) &&
              Has<I64 (Facts::*)() const>(&Facts::GetCreationTime) &&
              Has<I64 (Facts::*)() const>(&Facts::GetLastAccessTime) &&
              Has<I64 (Facts::*)() const>(&Facts::GetLastModifiedTime) &&
              Has<int (Facts::*)() const>(&Facts::GetPermissions) &&
              Has<int (Facts::*)() const>(&Facts::GetUserId) &&
              Has<int (Facts::*)() const>(&Facts::GetGroupId));
static_assert(Facts::NoFile == 0 && Facts::RegularFile == 1 && Facts::Directory == 2 &&
              Facts::Pipe == 3 && Facts::Link == 4 && Facts::Socket == 5 &&
              Facts::OtherFile == 127);

using Module = kelDynamicObject;
static_assert(kMade<Module> && kMade<Module, kelLibrary*> && !kMade<Module, const Module&>);
static_assert(Has<int (Module::*)(Text)>(&Module::LoadLibrary) &&
              Has<int (Module::*)(Text, Text)>(&Module::kelLoadLibraryEx) &&
              Has<int (Module::*)(I64 (**)(), Text)>(&Module::FindSymbol) &&
              Has<int (Module::*)()>(&Module::UnloadLibrary) &&
              Has<zuString (Module::*)()>(&Module::GetError) &&
              Has<zuString (Module::*)() const>(&Module::GetLibraryName));

using Process = kelProcess;
static_assert(kMade<Process> && kMade<Process, const Process&>);
static_assert(Has<int (Process::*)(Text, const List&, Text, const List&, bool)>(&Process::Start) &&
              Has<int (Process::*)(Text, const List&, Text, bool)>(&Process::Start) &&
              Has<int (Process::*)(Text, const List&, bool)>(&Process::Start) &&
              Has<int (Process::*)(Text, bool)>(&Process::Start));
static_assert(Has<bool (Process::*)() const>(&Process::IsRunning) &&
              Has<bool (*)(int)>(&Process::IsRunning) &&
              Has<int (Process::*)() const>(&Process::GetPid) &&
              Has<int (*)()>(&Process::GetCurrentProcessPid) &&
              Has<int (Process::*)()>(&Process::Kill) && Has<int (*)(int)>(&Process::NativeKill) &&
              Has<zuString (Process::*)()>(&Process::GetLastError));

using Memory = kelSharedMemory;
static_assert(kMade<Memory> && kMade<Memory, kelLibrary*>);
static_assert(Has<int (Memory::*)(U64, Text)>(&Memory::Create));
static_assert(Has<int (Memory::*)(Text)>(&Memory::Attach));
static_assert(Has<int (Memory::*)()>(&Memory::Detach));
static_assert(Has<int (Memory::*)()>(&Memory::Destroy));
static_assert(Has<int (Memory::*)(Text)>(&Memory::Remove));
static_assert(Has<void* (Memory::*)() const>(&Memory::GetBaseAddress));
static_assert(Has<U64 (Memory::*)() const>(&Memory::GetSize));
static_assert(Has<bool (Memory::*)() const>(&Memory::IsValid));

static_assert(!kMade<kelTime> && kMade<kelTime, I64>);
static_assert(kMade<kelTime, int, int, int, int, int, int, int, int, int, int, int>);
static_assert(Has<kelTime (*)()>(&kelTime::GetNow) && Has<kelTime (*)()>(&kelTime::GetCurrentTime));
static_assert(Has<int (kelTime::*)(zuString&, Text) const>(&kelTime::GetFormatTime));
static_assert(Has<I64 (kelTime::*)() const>(&kelTime::GetMicroSeconds));
static_assert(Has<I64 (kelTime::*)() const>(&kelTime::GetSeconds));
static_assert(Has<I64 (kelTime::*)() const>(&kelTime::GetNumericEpochTime));
static_assert(Has<void (kelTime::*)()>(&kelTime::MakeCurrentTime));
static_assert(Has<void (kelTime::*)()>(&kelTime::MakeLocalTime));
static_assert(Has<int (*)(I64)>(&kelTime::Sleep));

using Info = kelMemoryInfo;
static_assert(kMade<Info> && sizeof(Info) == 9 * sizeof(U64));
static_assert(offsetof(Info, totalPhysical) == 0 && offsetof(Info, usedPhysical) == 8 &&
              offsetof(Info, availablePhysical) == 16 && offsetof(Info, totalVirtual) == 24 &&
              offsetof(Info, usedVirtual) == 32 && offsetof(Info, availableVirtual) == 40 &&
              offsetof(Info, totalPaging) == 48 && offsetof(Info, usedPaging) == 56 &&
              offsetof(Info, availablePaging) == 64);
static_assert(std::is_same_v<decltype(Info::totalPhysical), U64>);

using Disk = zuDiskInfo;
static_assert(kMade<Disk> && sizeof(Disk) == 2 * sizeof(U64));
static_assert(Has<Disk& (Disk::*)(Disk&&)>(&Disk::operator=));
static_assert(offsetof(Disk, freeBytes) == 0 && offsetof(Disk, totalBytes) == 8);
static_assert(std::is_same_v<decltype(Disk::freeBytes), U64>);

static_assert(kMade<kelSystem>);
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

static_assert(kMade<kelCPUInfo>);
static_assert(std::is_empty_v<kelCPUInfo> &&
              Has<kelCPUInfo& (kelCPUInfo::*)(kelCPUInfo&&)>(&kelCPUInfo::operator=));
static_assert(Has<zuString (*)()>(&kelCPUInfo::GetCPUID));
static_assert(Has<int (*)()>(&kelCPUInfo::GetNumProcessors));
static_assert(Has<int (*)()>(&kelCPUInfo::GetLogicalProcsPerPackage));
static_assert(Has<bool (*)()>(&kelCPUInfo::HasCMT));

static_assert(kMade<kelAtomic>);
static_assert(Has<unsigned int (kelAtomic::*)()>(&kelAtomic::Increment));
static_assert(Has<int (kelAtomic::*)()>(&kelAtomic::Decrement));

static_assert(kMade<kelString>);
static_assert(std::is_empty_v<kelString> &&
              Has<kelString& (kelString::*)(kelString&&)>(&kelString::operator=));
static_assert(Has<int (*)(char*, int, char*, va_list)>(&kelString::vsnprintf));

static_assert(kMade<kelMutex> && kMade<kelMutex, kelLibrary*>);
static_assert(Has<int (kelMutex::*)()>(&kelMutex::Lock) &&
              Has<int (kelMutex::*)()>(&kelMutex::Trylock) &&
              Has<int (kelMutex::*)()>(&kelMutex::Unlock));
static_assert(kMade<kelBarrier> && kMade<kelBarrier, std::size_t>);
static_assert(kMade<kelBarrier, kelLibrary*> && kMade<kelBarrier, kelLibrary*, std::size_t>);
static_assert(Has<void (kelBarrier::*)(U64)>(&kelBarrier::Block) &&
              Has<void (kelBarrier::*)()>(&kelBarrier::Reset));
static_assert(kMade<kelCondition> && kMade<kelCondition, kelLibrary*>);
static_assert(std::is_abstract_v<kelThread>);
static_assert(Has<void (kelThread::*)()>(&kelThread::ThreadBody));

/// The place of a virtual operation in its table, as the pointer to it encodes it on this platform.
template <typename Operation>
std::ptrdiff_t SlotOf(Operation operation) {
    std::ptrdiff_t word = 0;
    std::memcpy(&word, &operation, sizeof word);
    return (word - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

TEST(Interface, VirtualTables_KeepTheirOrderBehindTheDestructorsTwoSlots) {
    EXPECT_TRUE(SlotOf(&kelMutex::Lock) == 2 && SlotOf(&kelMutex::Trylock) == 3 &&
                SlotOf(&kelMutex::Unlock) == 4 && SlotOf(&kelBarrier::Block) == 2 &&
                SlotOf(&kelBarrier::Reset) == 3 && SlotOf(&kelThread::ThreadBody) == 2);
}

}  // namespace
