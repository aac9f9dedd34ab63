#pragma once

#include <cstddef>

#include "platform/Files.h"

/// What the platform provides for mapped files. Plain functions, chosen at
/// link time: one folder below this one implements each of them.
namespace zukel::platform {

/// A mapped part of a file, or none. It is unmapped with the object.
struct FileView {
    void* address = nullptr;  ///< Of the first byte asked for.
    std::size_t size = 0;     ///< As asked for.
    std::size_t lead = 0;     ///< Bytes mapped before it, from the start of a page.
    FileHandle file;          ///< Windows: kept for `SyncView` when the view is written to.

    FileView() noexcept = default;
    ~FileView();
    FileView(const FileView&) = delete;
    FileView& operator=(const FileView&) = delete;
};

/// Maps a part of a file, shared with everybody else who maps it.
///
/// @param file is taken over, and closed where the mapping does not need it.
/// @param writes whether the memory may be written to, for which the file has to be open for
/// reading and writing; otherwise it is open for reading.
/// @param offset not negative; the part lies within the file.
/// @param size not 0.
/// @param view holds none; unchanged on failure.
/// @returns 0 or the reason.
apr_status_t MapFile(FileHandle file, bool writes, long long offset, std::size_t size,
                     FileView& view) noexcept;

/// Waits until what was written to the memory is on disk. Linux: `msync`. Windows:
/// `FlushViewOfFile` and `FlushFileBuffers`.
///
/// @param view holds a mapping that is written to.
/// @returns 0 or the reason.
apr_status_t SyncView(const FileView& view) noexcept;

/// Unmaps the view if it holds a mapping.
void UnmapView(FileView& view) noexcept;

inline FileView::~FileView() {
    UnmapView(*this);
}

}  // namespace zukel::platform
