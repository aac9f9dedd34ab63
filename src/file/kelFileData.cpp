#include <algorithm>
#include <cstdint>
#include <cstring>

#include "file/kelFileRecord.h"
#include "frame/StatusMapping.h"
#include "kelFile.h"
#include "platform/Files.h"

namespace {

// A typed value takes some 10 ns in the runtime. So that this class adds little to that, the short
// way of a transfer is inlined into each operation, and the rare ways stay out of it.

/// What one call of the runtime moves at most. It is the most that Linux moves at once; on Windows
/// the runtime (1.7.2) cuts a size to its low 32 bits, of which nothing may be left.
constexpr apr_size_t kMostAtOnce = 0x7ffff000;

/// The frame of every operation on an open file: the runtime's status is kept in the record and
/// mapped for the caller.
int Keep(kelFileRecord& record, apr_status_t status) noexcept {
    record.status = status;
    return zukel::MapStatus(status);
}

/// Writes out what stands in the buffer, before it overflows and before the runtime does anything
/// else with the file, so that no call fails half-way between writing and its own work.
///
/// APR 1.7.2 keeps the whole buffer when the system took only a part of it and then failed (a
/// device that runs full). The position goes back to where that part began: the next attempt writes
/// the same bytes to the same place instead of repeating them behind.
[[gnu::noinline]] apr_status_t WriteOutBuffer(kelFileRecord& record) noexcept {
    const long long start = zukel::platform::WritePosition(record.file);
    const apr_status_t status = apr_file_flush(record.file);
    if (status == APR_SUCCESS) {
        record.bufferFill = 0;
    } else if (start >= 0) {
        zukel::platform::SetWritePosition(record.file, start);
    }
    return status;
}

apr_status_t WriteOut(kelFileRecord& record) noexcept {
    return record.bufferFill == 0 ? APR_SUCCESS : WriteOutBuffer(record);
}

/// `size` comes back as the bytes read, 0 after a failure.
[[gnu::always_inline]] inline int ReadBytes(kelFileRecord& record, void* target,
                                            apr_size_t& size) noexcept {
    apr_status_t status = WriteOut(record);
    if (status == APR_SUCCESS) {
        size = std::min(size, kMostAtOnce);
        status = apr_file_read(record.file, target, &size);
    }
    if (status != APR_SUCCESS) {
        size = 0;
    }
    return Keep(record, status);
}

/// What the caller learns of a write that fails.
enum class Unit {
    Bytes,  ///< How many were taken.
    Whole   ///< Nothing, so that as far as the buffer has room none may have been.
};

/// Writes to a buffered file in pieces that fit the runtime's buffer, and writes the buffer out
/// between them, so that what was taken is known when that fails. A single large write would lose
/// count then, and it cuts its size to an `int`.
[[gnu::noinline]] int WriteBuffered(kelFileRecord& record, const char* source, apr_size_t& size,
                                    Unit unit) noexcept {
    const apr_size_t wanted = size;
    apr_status_t status = APR_SUCCESS;
    size = 0;
    if (unit == Unit::Whole && wanted <= record.bufferSize) {
        status = WriteOutBuffer(record);
    }
    while (size < wanted && status == APR_SUCCESS) {
        if (record.bufferFill == record.bufferSize) {
            status = WriteOutBuffer(record);
        } else {
            apr_size_t piece = std::min(record.bufferSize - record.bufferFill, wanted - size);
            status = apr_file_write(record.file, source + size, &piece);
            if (status == APR_SUCCESS) {
                record.bufferFill += piece;
                size += piece;
            }
        }
    }
    return Keep(record, status);
}

[[gnu::always_inline]] inline int WriteBytes(kelFileRecord& record, const void* source,
                                             apr_size_t& size, Unit unit) noexcept {
    // What fits goes the short way: it cannot overflow the buffer, nor can there be one to
    // overflow.
    const bool buffered = record.bufferSize != 0;
    if (buffered && !record.writable) {
        size = 0;  // the runtime would take it, and then fail at everything
        return Keep(record, APR_EBADF);
    }
    if (buffered && size > record.bufferSize - record.bufferFill) {
        return WriteBuffered(record, static_cast<const char*>(source), size, unit);
    }
    size = std::min(size, kMostAtOnce);
    const apr_status_t status = apr_file_write(record.file, source, &size);
    if (buffered) {
        size = status == APR_SUCCESS ? size : 0;  // a failure leaves the count at the whole
        record.bufferFill += size;
    }
    return Keep(record, status);
}

template <typename T>
int ReadValue(kelFileRecord& record, T& value) noexcept {
    if (record.file == nullptr) {
        return kelStatusFailed;
    }
    apr_size_t size = sizeof value;
    return ReadBytes(record, &value, size);
}

template <typename T>
int WriteValue(kelFileRecord& record, T value) noexcept {
    if (record.file == nullptr) {
        return kelStatusFailed;
    }
    apr_size_t size = sizeof value;
    return WriteBytes(record, &value, size, Unit::Whole);
}

/// Reads a value that is narrower in the file than in memory. A value cut by the end of the file
/// changes the leading bytes only, as with the other types.
template <typename Stored, typename T>
int ReadNarrow(kelFileRecord& record, T& value) noexcept {
    if (record.file == nullptr) {
        return kelStatusFailed;
    }
    Stored stored = 0;
    apr_size_t size = sizeof stored;
    const int result = ReadBytes(record, &stored, size);
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
        return Keep(record, APR_EINVAL);
    }
    return WriteValue(record, stored);
}

int ReadBlock(kelFileRecord& record, void* buffer, unsigned long long& size) noexcept {
    if (record.file == nullptr) {
        return kelStatusFailed;
    }
    apr_size_t bytes = size;
    const int result = ReadBytes(record, buffer, bytes);
    size = bytes;
    return result;
}

int WriteBlock(kelFileRecord& record, const void* buffer, unsigned long long& size) noexcept {
    if (record.file == nullptr) {
        return kelStatusFailed;
    }
    apr_size_t bytes = size;
    const int result = WriteBytes(record, buffer, bytes, Unit::Bytes);
    size = bytes;
    return result;
}

int Seek(kelFileRecord& record, apr_seek_where_t from, apr_off_t offset) noexcept {
    if (record.file == nullptr) {
        return kelStatusFailed;
    }
    apr_status_t status = WriteOut(record);
    if (status == APR_SUCCESS && record.bufferSize != 0 &&
        (apr_file_flags_get(record.file) & APR_FOPEN_APPEND) != 0) {
        // The runtime counts from where the file was opened, writes go to the end: it would take
        // one place for another, and believe itself there.
        apr_off_t start = 0;
        status = apr_file_seek(record.file, APR_SET, &start);
    }
    if (status == APR_SUCCESS) {
        status = apr_file_seek(record.file, from, &offset);
    }
    return Keep(record, status);
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
    if (record_->file == nullptr) {
        return kelStatusFailed;
    }
    const auto length = static_cast<int>(static_cast<std::uint32_t>(size));
    if (length <= 1 && size != 0) {
        *buffer = '\0';  // the runtime stores nothing here
    }
    apr_status_t status = WriteOut(*record_);
    if (status == APR_SUCCESS) {
        status = apr_file_gets(buffer, length, record_->file);
    }
    return Keep(*record_, status);
}

int kelFile::WriteLine(const char* text) {
    if (record_->file == nullptr) {
        return kelStatusFailed;
    }
    if (record_->bufferSize != 0) {
        apr_size_t size = std::strlen(text);
        return WriteBytes(*record_, text, size, Unit::Whole);
    }
    return Keep(*record_, apr_file_puts(text, record_->file));
}

int kelFile::SeekTo(long long offset) {
    return Seek(*record_, APR_SET, offset);
}
int kelFile::SeekToBegin() {
    return Seek(*record_, APR_SET, 0);
}
int kelFile::SeekToEnd() {
    return Seek(*record_, APR_END, 0);
}

bool kelFile::EndOfFile() {
    if (record_->file == nullptr) {
        return true;
    }
    if (record_->status == APR_SUCCESS) {
        record_->status = apr_file_eof(record_->file);
    }
    return record_->status == APR_EOF;
}

int kelFile::Flush() {
    if (record_->file == nullptr) {
        return kelStatusFailed;
    }
    return Keep(*record_, WriteOut(*record_));
}
