#include "Files.h"

#include <kelDirectory.h>
#include <kelFile.h>
#include <kelMappedFile.h>
#include <kelStatus.h>
#include <leveldb/slice.h>

#include <memory>

#include "Failure.h"

namespace {

using leveldb::Slice;
using leveldb::Status;

class Sequential : public leveldb::SequentialFile {
public:
    int Open(const std::string& name) { return file_.Open(name, kelFile::ModeRead); }

    Status Read(std::size_t size, Slice* result, char* scratch) override {
        unsigned long long got = size;
        const int status = file_.Read(scratch, got);
        position_ += static_cast<long long>(got);
        *result = Slice(scratch, got);
        const bool ended = status != kelStatusOk && file_.EndOfFile();
        return ToStatus(ended ? kelStatusOk : status, file_.GetFileName());
    }

    Status Skip(std::uint64_t size) override {
        position_ += static_cast<long long>(size);
        return ToStatus(file_.SeekTo(position_), file_.GetFileName());
    }

private:
    kelFile file_;
    long long position_ = 0;
};

/// A mapped file: a read copies nothing.
class Mapped : public leveldb::RandomAccessFile {
public:
    Mapped(const std::string& name, const kelMappedFile& file, std::atomic<int>& mappings)
        : name_(name), file_(file), mappings_(mappings) {}
    ~Mapped() override { ++mappings_; }

    Status Read(std::uint64_t offset, std::size_t size, Slice* result, char*) const override {
        if (offset > size_ || size > size_ - offset) {
            *result = Slice();
            return Status::IOError(name_, "a read beyond the end");
        }
        *result = Slice(start_ + offset, size);
        return Status::OK();
    }

private:
    const std::string name_;
    const kelMappedFile file_;
    const char* const start_ = static_cast<const char*>(file_.GetAddress());
    const std::uint64_t size_ = file_.GetSize();
    std::atomic<int>& mappings_;
};

/// An open file, for tables beyond the limit of mappings.
class Positional : public leveldb::RandomAccessFile {
public:
    int Open(const std::string& name) { return file_.Open(name, kelFile::ModeRead); }

    Status Read(std::uint64_t offset, std::size_t size, Slice* result,
                char* scratch) const override {
        unsigned long long got = size;
        const int status = file_.ReadAt(static_cast<long long>(offset), scratch, got);
        *result = Slice(scratch, got);
        return ToStatus(status, file_.GetFileName());
    }

private:
    mutable kelFile file_;  // unbuffered, so that threads may share it
};

/// A buffered file: LevelDB writes a table in many small pieces.
class Writable : public leveldb::WritableFile {
public:
    int Open(const std::string& name, int mode) {
        const std::size_t slash = name.rfind('/');
        directory_ = slash == std::string::npos ? "." : name.substr(0, slash + 1);
        manifest_ = name.compare(slash + 1, 8, "MANIFEST") == 0;  // npos + 1 is 0
        buffer_.reserve(kBuffer);
        return file_.Open(name, mode | kelFile::ModeWrite | kelFile::ModeCreate);
    }
    ~Writable() override { Writable::Close(); }

    Status Append(const Slice& data) override {
        if (buffer_.size() + data.size() > kBuffer) {
            Status flushed = Writable::Flush();
            if (!flushed.ok()) {
                return flushed;
            }
        }
        if (data.size() > kBuffer) {
            return Write(data.data(), data.size());
        }
        buffer_.append(data.data(), data.size());
        return Status::OK();
    }

    Status Flush() override {
        Status written = Write(buffer_.data(), buffer_.size());
        buffer_.clear();
        return written;
    }

    /// A manifest names new tables: their directory entries must survive a power cut before it
    /// does.
    Status Sync() override {
        Status flushed = Writable::Flush();
        if (!flushed.ok()) {
            return flushed;
        }
        if (manifest_ && kelDirectory::Sync(directory_) != kelStatusOk) {
            return ToStatus(kelStatusFailed, directory_);
        }
        return ToStatus(file_.Sync(), file_.GetFileName());
    }

    Status Close() override {
        if (!file_.IsOpen()) {
            return Status::OK();
        }
        Status flushed = Writable::Flush();
        Status closed = ToStatus(file_.Close(), file_.GetFileName());
        return flushed.ok() ? closed : flushed;
    }

private:
    static constexpr std::size_t kBuffer = 65536;

    Status Write(const char* data, std::size_t size) {
        while (size > 0) {
            unsigned long long put = size;
            if (file_.Write(data, put) != kelStatusOk) {
                return ToStatus(kelStatusFailed, file_.GetFileName());
            }
            data += put;
            size -= put;
        }
        return Status::OK();
    }

    kelFile file_;
    std::string buffer_;
    std::string directory_;
    bool manifest_ = false;
};

/// Passes `file` to the caller if the open succeeded.
template <typename File, typename Base>
Status Result(int status, const std::string& name, std::unique_ptr<File> file, Base** result) {
    *result = status == kelStatusOk ? file.release() : nullptr;
    return ToStatus(status, name);
}

}  // namespace

leveldb::Status OpenSequential(const std::string& name, leveldb::SequentialFile** result) {
    auto file = std::make_unique<Sequential>();
    const int status = file->Open(name);
    return Result(status, name, std::move(file), result);
}

leveldb::Status OpenRandomAccess(const std::string& name, std::atomic<int>& mappings,
                                 leveldb::RandomAccessFile** result) {
    kelMappedFile mapped;
    if (--mappings >= 0 && mapped.Open(name, kelMappedFile::ReadOnly) == kelStatusOk) {
        *result = new Mapped(name, mapped, mappings);
        return Status::OK();
    }
    ++mappings;
    auto file = std::make_unique<Positional>();
    const int status = file->Open(name);
    return Result(status, name, std::move(file), result);
}

leveldb::Status OpenWritable(const std::string& name, int mode, leveldb::WritableFile** result) {
    auto file = std::make_unique<Writable>();
    const int status = file->Open(name, mode);
    return Result(status, name, std::move(file), result);
}
