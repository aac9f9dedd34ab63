#include <cstdint>
#include <cstring>

#include "file/kelFileRecord.h"
#include "frame/BlockSize.h"
#include "frame/StatusMapping.h"
#include "kelFile.h"

namespace platform = zukel::platform;
using zukel::OnFailure;

namespace {

// Hot path: a typed value is a few instructions if the buffer has it, or has room for it. The slow
// paths are kept out of line.

/// Stores the status of an operation on an open file for `EndOfFile`, and maps it for the caller.
int StoreStatus(kelFileRecord& record, apr_status_t status) noexcept {
    record.status = status;
    return zukel::MapStatus(status);
}

[[gnu::noinline]] int ReadSlowly(kelFileRecord& record, void* target, std::size_t& size) noexcept {
    if (!record.stream.IsOpen()) {
        size = 0;
        return zukel::Fail(APR_EBADF);
    }
    return StoreStatus(record, record.stream.Read(target, size));
}

[[gnu::noinline]] int WriteSlowly(kelFileRecord& record, const void* source,
                                  std::size_t size) noexcept {
    return record.stream.IsOpen()
               ? StoreStatus(record, record.stream.Write(source, size, OnFailure::TakeNothing))
               : zukel::Fail(APR_EBADF);
}

/// `size` receives the number of bytes read.
template <typename T>
int ReadBytes(kelFileRecord& record, T& value, std::size_t& size) noexcept {
    size = sizeof value;
    return record.stream.Take(&value, sizeof value) ? StoreStatus(record, APR_SUCCESS)
                                                    : ReadSlowly(record, &value, size);
}

template <typename T>
int ReadValue(kelFileRecord& record, T& value) noexcept {
    std::size_t size = 0;
    return ReadBytes(record, value, size);
}

template <typename T>
int WriteValue(kelFileRecord& record, T value) noexcept {
    return record.stream.Put(&value, sizeof value) ? StoreStatus(record, APR_SUCCESS)
                                                   : WriteSlowly(record, &value, sizeof value);
}

/// Reads a value that is narrower in the file than in memory. If the file ends within it, only the
/// leading bytes change, as with the other types.
template <typename Stored, typename T>
int ReadNarrow(kelFileRecord& record, T& value) noexcept {
    Stored stored = 0;
    std::size_t size = 0;
    const int result = ReadBytes(record, stored, size);
    if (size == sizeof stored) {
        value = static_cast<T>(stored);
    } else {
        std::memcpy(&value, &stored, size);
    }
    return result;
}

template <typename Stored, typename T>
int WriteNarrow(kelFileRecord& record, T value) noexcept {
    const auto stored = static_cast<Stored>(value);
    if (static_cast<T>(stored) != value) {
        return StoreStatus(record, APR_EINVAL);
    }
    return WriteValue(record, stored);
}

int ReadBlock(kelFileRecord& record, void* buffer, unsigned long long& size) noexcept {
    if (!record.stream.IsOpen()) {
        return zukel::Fail(APR_EBADF);
    }
    std::size_t bytes = zukel::BlockSize(size);
    if (bytes > 0 && record.stream.Take(buffer, bytes)) {
        return StoreStatus(record, APR_SUCCESS);
    }
    const apr_status_t status = record.stream.Read(buffer, bytes);
    size = bytes;
    return StoreStatus(record, status);
}

int WriteBlock(kelFileRecord& record, const void* buffer, unsigned long long& size) noexcept {
    if (!record.stream.IsOpen()) {
        return zukel::Fail(APR_EBADF);
    }
    std::size_t bytes = zukel::BlockSize(size);
    if (bytes > 0 && record.stream.Put(buffer, bytes)) {
        return StoreStatus(record, APR_SUCCESS);
    }
    const apr_status_t status = record.stream.Write(buffer, bytes, OnFailure::ReportCount);
    size = bytes;
    return StoreStatus(record, status);
}

int Seek(kelFileRecord& record, platform::Origin from, long long offset) noexcept {
    return record.stream.IsOpen() ? StoreStatus(record, record.stream.Seek(from, offset))
                                  : zukel::Fail(APR_EBADF);
}

}  // namespace

int kelFile::Read(char& value) {
    return ReadValue(*record_, value);
}
int kelFile::Read(short& value) {
    return ReadValue(*record_, value);
}
int kelFile::Read(unsigned short& value) {
    return ReadValue(*record_, value);
}
int kelFile::Read(wchar_t& value) {
    return ReadNarrow<std::uint16_t>(*record_, value);
}
int kelFile::Read(int& value) {
    return ReadValue(*record_, value);
}
int kelFile::Read(unsigned int& value) {
    return ReadValue(*record_, value);
}
int kelFile::Read(long& value) {
    return ReadNarrow<std::int32_t>(*record_, value);
}
int kelFile::Read(unsigned long& value) {
    return ReadNarrow<std::uint32_t>(*record_, value);
}
int kelFile::Read(float& value) {
    return ReadValue(*record_, value);
}
int kelFile::Read(double& value) {
    return ReadValue(*record_, value);
}

int kelFile::Write(char value) {
    return WriteValue(*record_, value);
}
int kelFile::Write(short value) {
    return WriteValue(*record_, value);
}
int kelFile::Write(unsigned short value) {
    return WriteValue(*record_, value);
}
int kelFile::Write(wchar_t value) {
    return WriteNarrow<std::uint16_t>(*record_, value);
}
int kelFile::Write(int value) {
    return WriteValue(*record_, value);
}
int kelFile::Write(unsigned int value) {
    return WriteValue(*record_, value);
}
int kelFile::Write(long value) {
    return WriteNarrow<std::int32_t>(*record_, value);
}
int kelFile::Write(unsigned long value) {
    return WriteNarrow<std::uint32_t>(*record_, value);
}
int kelFile::Write(float value) {
    return WriteValue(*record_, value);
}
int kelFile::Write(double value) {
    return WriteValue(*record_, value);
}

// The pointer's type has no effect: all of these are one operation on bytes.
#define ZUKEL_BLOCK_OVERLOADS(T)                                    \
    int kelFile::Read(T* buffer, unsigned long long& size) {        \
        return ReadBlock(*record_, buffer, size);                   \
    }                                                               \
    int kelFile::Write(const T* buffer, unsigned long long& size) { \
        return WriteBlock(*record_, buffer, size);                  \
    }
ZUKEL_BLOCK_OVERLOADS(char)
ZUKEL_BLOCK_OVERLOADS(short)
ZUKEL_BLOCK_OVERLOADS(unsigned short)
ZUKEL_BLOCK_OVERLOADS(wchar_t)
ZUKEL_BLOCK_OVERLOADS(int)
ZUKEL_BLOCK_OVERLOADS(unsigned int)
ZUKEL_BLOCK_OVERLOADS(long)
ZUKEL_BLOCK_OVERLOADS(unsigned long)
ZUKEL_BLOCK_OVERLOADS(float)
ZUKEL_BLOCK_OVERLOADS(double)
#undef ZUKEL_BLOCK_OVERLOADS

int kelFile::ReadLine(char* buffer, unsigned long long size) {
    if (!record_->stream.IsOpen()) {
        return zukel::Fail(APR_EBADF);
    }
    const auto room = static_cast<std::int32_t>(static_cast<std::uint32_t>(size));
    std::size_t length = room > 1 ? static_cast<std::size_t>(room) - 1 : 0;
    if (record_->stream.TakeLine(buffer, length)) {
        buffer[length] = '\0';
        return StoreStatus(*record_, APR_SUCCESS);
    }
    const apr_status_t status =
        length > 0 ? record_->stream.ReadLine(buffer, length) : record_->stream.Flush();
    if (size != 0) {
        buffer[length] = '\0';
    }
    return StoreStatus(*record_, status);
}

int kelFile::WriteLine(const char* text) {
    return record_->stream.IsOpen()
               ? StoreStatus(*record_, record_->stream.WriteWhole(text, std::strlen(text)))
               : zukel::Fail(APR_EBADF);
}

int kelFile::SeekTo(long long offset) {
    return Seek(*record_, platform::Origin::Start, offset);
}
int kelFile::SeekToBegin() {
    return Seek(*record_, platform::Origin::Start, 0);
}
int kelFile::SeekToEnd() {
    return Seek(*record_, platform::Origin::End, 0);
}

bool kelFile::EndOfFile() {
    if (!record_->stream.IsOpen()) {
        return true;
    }
    if (record_->status == APR_SUCCESS && record_->stream.HasMetEnd()) {
        record_->status = APR_EOF;
    }
    return record_->status == APR_EOF;
}

int kelFile::Flush() {
    return record_->stream.IsOpen() ? StoreStatus(*record_, record_->stream.Flush())
                                    : zukel::Fail(APR_EBADF);
}
