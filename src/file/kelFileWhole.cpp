#include <apr_file_io.h>

#include <algorithm>

#include "frame/OnName.h"
#include "frame/OpenStatus.h"
#include "kelFile.h"
#include "platform/FileExtents.h"
#include "platform/Files.h"
#include "platform/WholeFiles.h"

namespace platform = zukel::platform;

namespace {

/// Reads up to wherever the end is when it is reached.
apr_status_t ReadToEnd(const platform::FileHandle& file, zuString& contents) {
    constexpr long long kLeast = 4096;
    constexpr long long kMost = 1LL << 30;  // a reported length may exceed the contents
    long long expected = 0;
    platform::QueryLength(file, expected);
    contents.resize(static_cast<std::size_t>(std::clamp(expected + 1, kLeast, kMost)));
    std::size_t done = 0;
    apr_status_t status = APR_SUCCESS;
    std::size_t piece = 1;
    while (status == APR_SUCCESS && piece > 0) {
        if (done == contents.size()) {
            contents.resize(done * 2);
        }
        piece = std::min(contents.size() - done, platform::kMostAtOnce);
        status = platform::ReadBytes(file, contents.data() + done, piece);
        done += piece;
    }
    contents.resize(done);
    return status;
}

}  // namespace

int kelFile::ReadWhole(const zuString& name, zuString& contents) {
    return zukel::OnName(name, zukel::MapOpenStatus, [&](const char* path) {
        platform::FileHandle file;
        zuString all;
        apr_status_t status = platform::OpenFileByName(path, APR_FOPEN_READ, file);
        if (status == APR_SUCCESS) {
            status = ReadToEnd(file, all);
        }
        if (status == APR_SUCCESS) {
            contents.swap(all);
        }
        return status;
    });
}

int kelFile::ReplaceWhole(const zuString& name, const zuString& contents) {
    return zukel::OnName(name, zukel::MapOpenStatus, [&](const char* path) {
        return platform::ReplaceContents(path, contents.data(), contents.size());
    });
}
